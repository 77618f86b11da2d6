// Each ZENT_CASE is one call of the checked format; only case 0 is well formed.
#include <cstdint>
#include <string>

#include "log/format.h"

void Use(std::string& out) {
  std::string narrow = "text";
  const wchar_t* wide = L"text";
  int32_t number = 1;
  int64_t big = 1;
  (void)narrow; (void)wide; (void)number; (void)big;
#if ZENT_CASE == 0
  zent::AppendFormat(out, L"%s %S %d %I64u %p %c %%", wide, narrow, number, big, &number, L'x');
#elif ZENT_CASE == 1
  zent::AppendFormat(out, L"%s", narrow);  // 8-bit text where a wide string is read
#elif ZENT_CASE == 2
  zent::AppendFormat(out, L"%S", wide);  // wide text where 8-bit text is read
#elif ZENT_CASE == 3
  zent::AppendFormat(out, L"%d", big);  // 64 bits where 32 are read
#elif ZENT_CASE == 4
  zent::AppendFormat(out, L"%I64u", number);  // 32 bits where 64 are read
#elif ZENT_CASE == 5
  zent::AppendFormat(out, L"%d", wide);  // a pointer where a number is read
#elif ZENT_CASE == 6
  zent::AppendFormat(out, L"%d %d", number);  // an argument short
#elif ZENT_CASE == 7
  zent::AppendFormat(out, L"%d", number, number);  // an argument over
#elif ZENT_CASE == 8
  zent::AppendFormat(out, L"%f", number);  // no floating point
#elif ZENT_CASE == 9
  zent::AppendFormat(out, L"%n", &number);  // no write-back
#elif ZENT_CASE == 10
  zent::AppendFormat(out, "%s", wide);  // 8-bit format: %s is 8-bit
#elif ZENT_CASE == 11
  zent::AppendFormat(out, L"%s", number);  // a number where a string is read
#endif
}
