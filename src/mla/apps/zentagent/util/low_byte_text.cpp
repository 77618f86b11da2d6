#include "util/low_byte_text.h"

std::string LowByteText(const std::wstring& text) {
  std::string narrow;
  narrow.reserve(text.size());
  for (wchar_t unit : text) narrow += static_cast<char>(unit & 0xFF);
  return narrow;
}
