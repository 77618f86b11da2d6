#include "util/wide_path_file.h"

#include <cstdint>

#include "util/utf16_text.h"

std::string WidePathText(const std::wstring& path) {
  std::string out;
  for (size_t i = 0; i < path.size(); ++i) {
    uint32_t c = static_cast<uint32_t>(path[i]);
    // 16-bit wchar_t carries a character outside the basic plane as a pair.
    if (sizeof(wchar_t) == 2 && c >= 0xD800 && c < 0xDC00 && i + 1 < path.size()) {
      uint32_t low = static_cast<uint32_t>(path[i + 1]);
      if (low >= 0xDC00 && low < 0xE000) {
        c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
        ++i;
      }
    }
    AppendUtf8(out, c);
  }
  return out;
}

FILE* OpenWidePathFile(const std::wstring& path, const char* mode) {
#ifdef _WIN32
  std::wstring wideMode(mode, mode + std::char_traits<char>::length(mode));
  return _wfopen(path.c_str(), wideMode.c_str());
#else
  return std::fopen(WidePathText(path).c_str(), mode);
#endif
}

std::wstring WidePathFromUtf8(const std::string& text) {
  std::wstring out;
  for (size_t i = 0; i < text.size();) {
    unsigned char lead = static_cast<unsigned char>(text[i]);
    int extra = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
    uint32_t c = extra == 0 ? lead : lead & (0x3F >> extra);
    size_t end = i + 1 + extra;
    for (++i; i < end && i < text.size(); ++i) c = (c << 6) | (static_cast<unsigned char>(text[i]) & 0x3F);
    if (sizeof(wchar_t) == 2 && c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<wchar_t>(0xD800 + (c >> 10));
      out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<wchar_t>(c);
    }
  }
  return out;
}
