#include <cstdint>

#include "util/utf8_check.h"

bool IsValidUtf8(const std::string& text) {
  size_t i = 0;
  while (i < text.size()) {
    uint8_t lead = static_cast<uint8_t>(text[i]);
    int extra;
    uint32_t c;
    if (lead < 0x80) {
      ++i;
      continue;
    } else if (lead >= 0xC2 && lead <= 0xDF) {
      extra = 1;
      c = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      extra = 2;
      c = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      extra = 3;
      c = lead & 0x07;
    } else {
      return false;
    }
    if (i + extra >= text.size()) return false;
    for (int k = 1; k <= extra; ++k) {
      uint8_t next = static_cast<uint8_t>(text[i + k]);
      if ((next & 0xC0) != 0x80) return false;
      c = (c << 6) | (next & 0x3F);
    }
    if ((extra == 2 && c < 0x800) || (extra == 3 && c < 0x10000) || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      return false;
    }
    i += extra + 1;
  }
  return true;
}
