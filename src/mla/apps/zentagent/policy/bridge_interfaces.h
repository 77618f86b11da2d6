// The members of a network bridge, which the adapter list does not show, and
// the bridge's own virtual adapter, which it does.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "policy/attr_map.h"

// One lower component of a binding path below the bridge protocol, in the
// order of the walk. Components whose characteristics, bind name or device
// could not be had are not listed.
struct BridgeBinding {
  std::optional<std::string> name;     // display name, else friendly name, ANSI
  std::optional<std::string> address;  // current MAC bytes; absent when the device did not answer
  bool isVirtual = false;              // NCF_VIRTUAL among the characteristics
  std::string componentId;
  bool pathEnabled = false;
};

// Adds each member unknown to platformIfByMACMap with `BridgeName`, and takes
// the bridge's virtual adapter out of the map.
void GetBridgeInterfaces(AttrMapIndex& map, const std::vector<BridgeBinding>& bindings);

#ifdef _WIN32
// Walks the bridge protocol's bindings through the network configuration
// object. Fails quietly: the adapters then stay as listed.
void GetBridgeInterfaces(AttrMapIndex& map);
#endif
