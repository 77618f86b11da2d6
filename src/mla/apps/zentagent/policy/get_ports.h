// The port text of a connection type, by its AddressInfo.portType.
#pragma once

#include <string>

#include "policy/raw_config.h"

// portType missing or 0: "0-65535"; 1: AddressInfo.ports; 3: the items of
// the port list AddressInfo.portListId. Any other type, or a missing piece,
// gives false. attrs is an entry of connectionMap.
bool GetPorts(RawConfig& rawConfig, const AttrMap& attrs, std::string& portRange);
