#include "metadata/queried_registry_key_win.h"

#include "log/debug_log.h"
#include "util/utf8_check.h"

bool OpenQueriedRegistryKey(utilRegKey& key, const std::string& keyPath) {
  // Converted, bytes that are not UTF-8 would turn into U+FFFD and name some
  // other key; the server's name names nothing.
  if (!IsValidUtf8(keyPath)) {
    ZENT_LOG(1, L"Can't open registry key '%S', err=%d\n", keyPath, ERROR_NO_UNICODE_TRANSLATION);
    return false;
  }
  // A root alone is no key to report: the path below it must name one.
  if (key.subKey().empty()) return false;
  // Performance data is read by query, not walked as keys, and the dynamic
  // data root is gone from the NT line; Wine would open keys under both.
  if (key.root() == HKEY_PERFORMANCE_DATA || key.root() == HKEY_DYN_DATA) {
    ZENT_LOG(1, L"Can't open registry key '%S', err=%d\n", key.GetStdKeyFromHkey(), ERROR_BADKEY);
    return false;
  }
  return key.Open(0);
}
