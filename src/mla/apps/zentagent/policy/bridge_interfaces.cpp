#include "policy/bridge_interfaces.h"

#include <memory>

#include "policy/platform_interfaces.h"

void GetBridgeInterfaces(AttrMapIndex& map, const std::vector<BridgeBinding>& bindings) {
  // The name of the bridge's virtual adapter, once the walk has met it.
  std::string bridgeName;
  for (const BridgeBinding& binding : bindings) {
    auto attrs = std::make_unique<AttrMap>();
    if (binding.name) InsertAttr(*attrs, "name", *binding.name);
    // A device that gave no address is looked up by the empty text.
    std::string mac = binding.address ? SetMacAttributes(*attrs, *binding.address) : std::string();
    auto found = map.find(mac);
    if (found == map.end()) {
      if (!binding.pathEnabled) continue;
      // A member met before the virtual adapter gets an empty BridgeName.
      InsertAttr(*attrs, "BridgeName", bridgeName);
      InsertAttrMap(map, mac, std::move(attrs));
    } else if (binding.isVirtual && binding.componentId == "ms_bridgemp") {
      auto name = found->second->find("name");
      bridgeName = name != found->second->end() ? name->second : std::string();
      // The bridge's virtual adapter never reaches workingIfMap.
      map.erase(found);
    }
  }
}
