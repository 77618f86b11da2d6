// Numbers the section writers read from RawConfig's maps by the strict rule.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "policy/raw_config.h"

// The attribute `key` of the entry `entryKey` of map `mapName`, by the strict
// integer rule. A bad number logs at level 1 which attribute of which entry
// held it, marks the translation failed (rawConfig.badNumber) and gives
// false with value 0; the writer goes on, and the translation then fails.
// An absent attribute gives false with value 0 and no log.
bool StrictAttribute(RawConfig& rawConfig, const char* mapName, std::string_view entryKey, const AttrMap& attrs,
                     std::string_view key, int32_t& value);
