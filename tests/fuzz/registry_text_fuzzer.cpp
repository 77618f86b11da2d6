// The registry families' text rules over any registry data: the data taken
// as UTF-16 never throws or reads past its end, surrogates without partners
// become U+FFFD, and each rule's text keeps its shape.
//
// Input: the value's data as the registry holds it (an odd last byte is
// lost, as the text read loses it).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "metadata/registry_text.h"
#include "util/utf16_text.h"
#include "util/utf8_check.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::u16string units(size / 2, u'\0');
  for (size_t i = 0; i < units.size(); ++i) units[i] = static_cast<char16_t>(data[2 * i] | (data[2 * i + 1] << 8));
  std::string text = Utf16ToUtf8(units.data(), units.size());
  // Zero units are kept as zero bytes; everything else is well-formed UTF-8.
  std::string withoutZeros;
  for (char c : text) {
    if (c != '\0') withoutZeros += c;
  }
  Check(IsValidUtf8(withoutZeros));
  if (!text.empty() && text.back() == '\0') text.pop_back();

  std::string hex = RegistryBinaryText(text);
  Check(hex.size() == 2 * text.size());
  for (char c : hex) Check((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'));

  // The strings are the text's leading non-empty zero-ended pieces.
  std::vector<std::string> strings = RegistryMultiStrings(text);
  std::string joined;
  for (const std::string& s : strings) {
    Check(!s.empty() && s.find('\0') == std::string::npos);
    joined += s;
    joined += '\0';
  }
  // The last string may end with the data instead of a zero.
  size_t common = std::min(joined.size(), text.size());
  Check(joined.size() <= text.size() + 1 && text.compare(0, common, joined, 0, common) == 0);

  Check(RegistryStringText(text).find('\0') == std::string::npos);

  std::string list;
  AppendRegistryValueName(list, text);
  AppendRegistryKeyName(list, withoutZeros);
  Check(list.size() == (text.empty() ? 3 : text.size() + 2) + 1 + withoutZeros.size() + 2);
  return 0;
}
