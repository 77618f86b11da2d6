#include "policy/working_interfaces.h"

#include <memory>

#include "log/debug_log.h"

namespace {

std::string AttrOrEmpty(const AttrMap& attrs, const std::string& key) {
  auto it = attrs.find(key);
  return it != attrs.end() ? it->second : std::string();
}

}  // namespace

void GetInterfaces(RawConfig& rawConfig) {
  int ifidx = 1;
  int unknownId = 0;
  // The running index counts every adapter, dropped ones too.
  for (auto adapter = rawConfig.platformIfByMACMap.begin(); adapter != rawConfig.platformIfByMACMap.end();
       ++adapter, ++ifidx) {
    const std::string& mac = adapter->first;
    auto attrs = std::make_unique<AttrMap>();
    auto known = rawConfig.interfaceByMacMap.find(mac);
    if (known != rawConfig.interfaceByMacMap.end()) {
      *attrs = *known->second;
    } else {
      ZENT_LOG(4, L"MLA Interface is NOT found in config XML\n");
      InsertAttr(*attrs, "id", std::to_string(--unknownId));
      InsertAttr(*attrs, "typeId", "-1");
    }
    InsertAttr(*attrs, "ifidx", std::to_string(ifidx));
    auto idIt = attrs->find("id");
    if (idIt == attrs->end()) {
      ZENT_LOG(1, L"cannot find id attribute\n");
      continue;
    }
    // A copy: inserting into the AttrMap below moves its entries.
    std::string id = idIt->second;
    std::string driverId;
    auto driverIf = rawConfig.driverIfByMACMap.find(mac);
    if (driverIf != rawConfig.driverIfByMACMap.end()) {
      driverId = AttrOrEmpty(*driverIf->second, "id");
      if (driverIf->second->count("id") != 0) InsertAttr(*attrs, "driverIfconfig.id", driverId);
    }
    ZENT_LOG(4, L"Interface(%S) MAC(%S) virtual(%S) has MLM ID(%S) and driver ID(%S)\n", AttrOrEmpty(*attrs, "name"),
             AttrOrEmpty(*attrs, "mac"), AttrOrEmpty(*attrs, "virtualDeviceKey"), id, driverId);
    // Two policy interfaces with one id: the first adapter in MAC order
    // stands.
    InsertAttrMap(rawConfig.workingIfMap, std::move(id), std::move(attrs));
  }
}
