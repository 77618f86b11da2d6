#include "util/wide_path_file.h"

#include <cstdint>

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
