// The `interfaces` attribute of a filter: which driver interfaces it binds.
#pragma once

#include <set>
#include <string>

#include "policy/attr_map.h"
#include "policy/raw_config.h"

// For each id of the set found in workingIfMap, the bit of its driver id
// (driverIfconfig.id, 0 when missing) modulo 32. The mask in unsigned
// decimal, or empty when it is 0: an absent attribute means all interfaces.
std::string GetInterfaceMask(RawConfig& rawConfig, const std::set<std::string, BytewiseLess>& idSet);
