#include "util/utf16_text.h"

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

namespace {

bool IsHighSurrogate(char16_t u) { return u >= 0xD800 && u <= 0xDBFF; }
bool IsLowSurrogate(char16_t u) { return u >= 0xDC00 && u <= 0xDFFF; }

}  // namespace

std::string Utf16ToUtf8(const char16_t* units, size_t count) {
  std::string out;
  out.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    char16_t u = units[i];
    if (IsHighSurrogate(u) && i + 1 < count && IsLowSurrogate(units[i + 1])) {
      char32_t c = 0x10000 + ((static_cast<char32_t>(u - 0xD800) << 10) | (units[i + 1] - 0xDC00));
      AppendUtf8(out, c);
      ++i;
    } else if (IsHighSurrogate(u) || IsLowSurrogate(u)) {
      AppendUtf8(out, 0xFFFD);
    } else {
      AppendUtf8(out, u);
    }
  }
  return out;
}
