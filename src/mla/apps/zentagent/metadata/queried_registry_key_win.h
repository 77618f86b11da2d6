// Opening the key that a registry query names, for both registry families.
#pragma once

#include <string>

#include "util/reg_key_win.h"

// Opens key (made from keyPath) for reading. False when keyPath is not UTF-8
// (logged with ERROR_NO_UNICODE_TRANSLATION), when its path below the root is
// empty, when the root is HKEY_PERFORMANCE_DATA or HKEY_DYN_DATA (logged with
// ERROR_BADKEY), or when the key cannot be opened (logged by utilRegKey).
bool OpenQueriedRegistryKey(utilRegKey& key, const std::string& keyPath);
