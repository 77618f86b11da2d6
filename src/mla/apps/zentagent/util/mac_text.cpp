#include "util/mac_text.h"

std::string BytesToMacText(std::string& bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string text;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i != 0) text += ':';
    const auto byte = static_cast<unsigned char>(bytes[i]);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  bytes.clear();
  return text;
}
