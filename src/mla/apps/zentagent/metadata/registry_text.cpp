#include "metadata/registry_text.h"

namespace {

// One row per byte value, "00" to "ff".
struct HexRows {
  char rows[256][2];
  HexRows() {
    const char* digits = "0123456789abcdef";
    for (int i = 0; i < 256; ++i) {
      rows[i][0] = digits[i >> 4];
      rows[i][1] = digits[i & 15];
    }
  }
};

}  // namespace

std::string RegistryValueIdentifier(const std::string& keyPath, const std::string& valueName) {
  return keyPath + "\\" + valueName;
}

std::string RegistryValueNameToRead(const std::string& valueName) {
  return valueName == "@" ? std::string() : valueName;
}

std::string RegistryStringText(const std::string& text) { return std::string(text.c_str()); }

std::string RegistryBinaryText(const std::string& text) {
  static const HexRows table;
  std::string hex;
  hex.reserve(text.size() * 2);
  for (char c : text) {
    // The row is taken by the unsigned byte: bytes from 0x80 on have rows too.
    const char* row = table.rows[static_cast<unsigned char>(c)];
    hex.append(row, 2);
  }
  return hex;
}

std::string RegistryDwordText(uint32_t value) { return std::to_string(static_cast<int32_t>(value)); }

std::vector<std::string> RegistryMultiStrings(const std::string& text) {
  std::vector<std::string> strings;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find('\0', at);
    if (end == std::string::npos) end = text.size();
    if (end == at) break;
    strings.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return strings;
}

void AppendRegistryKeyName(std::string& list, const std::string& name) {
  if (!list.empty()) list += ',';
  list += '"';
  list += name;
  list += '"';
}

void AppendRegistryValueName(std::string& list, const std::string& name) {
  AppendRegistryKeyName(list, name.empty() ? std::string("@") : name);
}
