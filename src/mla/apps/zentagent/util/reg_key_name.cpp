#include "util/reg_key_name.h"

#include <cstring>

#include "log/debug_log.h"

const RegRootName kRegRootNames[7] = {
    {"HKEY_CLASSES_ROOT", "HKCR"},   {"HKEY_CURRENT_USER", "HKCU"},     {"HKEY_LOCAL_MACHINE", "HKLM"},
    {"HKEY_USERS", "HKU"},           {"HKEY_PERFORMANCE_DATA", "HKPD"}, {"HKEY_CURRENT_CONFIG", "HKCC"},
    {"HKEY_DYN_DATA", "HKDD"},
};

int ExtractKeyName(std::string& name) {
  size_t slash = name.find('\\');
  std::string root = slash == std::string::npos ? std::string() : name.substr(0, slash);
  for (char& c : root) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  for (int i = 0; i < 7; ++i) {
    if (root == kRegRootNames[i].longName || root == kRegRootNames[i].shortName) {
      name.erase(0, slash + 1);
      if (!name.empty() && name.back() == '\\') name.pop_back();
      return i;
    }
  }
  // The settled fallback: the key stands on the first root with the whole
  // text as its path, and is simply not found later.
  ZENT_LOG(1, L"invalid key prefix: root(%S), key(%S)\n", root, name);
  return 0;
}
