#include "policy/strict_integer.h"

#include <cerrno>
#include <cstdlib>

StrictIntegerResult StrictStoi(const std::string& text, int32_t& value) {
  const char* start = text.c_str();
  char* end = nullptr;
  errno = 0;
  // strtoll and a range check give the 32-bit long of the Windows runtime's
  // strtol on every host.
  long long number = std::strtoll(start, &end, 10);
  if (end == start) return StrictIntegerResult::Invalid;
  if (errno == ERANGE || number < INT32_MIN || number > INT32_MAX) return StrictIntegerResult::OutOfRange;
  value = static_cast<int32_t>(number);
  return StrictIntegerResult::Ok;
}

const char* StrictIntegerError(StrictIntegerResult result) {
  return result == StrictIntegerResult::Invalid ? "invalid stoi argument" : "stoi argument out of range";
}
