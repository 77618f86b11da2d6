#include "policy/strict_attribute.h"

#include "log/debug_log.h"
#include "policy/strict_integer.h"

bool StrictAttribute(RawConfig& rawConfig, const char* mapName, std::string_view entryKey, const AttrMap& attrs,
                     std::string_view key, int32_t& value) {
  value = 0;
  auto it = attrs.find(key);
  if (it == attrs.end()) return false;
  StrictIntegerResult result = StrictStoi(it->second, value);
  if (result == StrictIntegerResult::Ok) return true;
  value = 0;
  // Where the number used to end the process, the translation fails and
  // says where the bad text stood.
  ZENT_LOG(1, L"%S(%S): bad number in attribute(%S), value(%S): %S\n", mapName, entryKey, key, it->second,
           StrictIntegerError(result));
  rawConfig.badNumber = true;
  return false;
}
