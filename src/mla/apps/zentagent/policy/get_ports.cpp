#include "policy/get_ports.h"

#include "log/debug_log.h"
#include "policy/strict_attribute.h"

bool GetPorts(RawConfig& rawConfig, const AttrMap& attrs, std::string& portRange) {
  auto id = attrs.find("id");
  int32_t portType = 0;
  StrictAttribute(rawConfig, "connectionMap", id == attrs.end() ? std::string() : id->second, attrs,
                  "AddressInfo.portType", portType);
  if (portType == 0) {
    portRange = "0-65535";
    return true;
  }
  if (portType == 1) {
    auto ports = attrs.find("AddressInfo.ports");
    if (ports == attrs.end()) {
      ZENT_LOG(1, L"cannot find ports attribute in AddressInfo\n");
      return false;
    }
    portRange = ports->second;
    return true;
  }
  if (portType == 3) {
    auto listId = attrs.find("AddressInfo.portListId");
    if (listId == attrs.end()) {
      ZENT_LOG(1, L"cannot find portListId attribute in AddressInfo\n");
      return false;
    }
    auto list = rawConfig.portListMap.find(listId->second);
    if (list == rawConfig.portListMap.end()) {
      ZENT_LOG(1, L"cannot find corresponding entry in portListMap for portListId(%S)\n", listId->second);
      return false;
    }
    auto items = list->second->find("items");
    if (items == list->second->end()) {
      // "attritbute" is the message as operators know it.
      ZENT_LOG(1, L"cannot find items attritbute\n");
      return false;
    }
    portRange = items->second;
    return true;
  }
  // Another type of port is not the agent's to know; it says nothing of it.
  return false;
}
