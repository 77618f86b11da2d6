// Interfaces of the manager's policy, by id and by MAC address, and the IPs
// of the first one.
#include <memory>
#include <string>

#include "policy/policy_tree.h"
#include "policy/raw_config_passes.h"

using tinyxml2::XMLAttribute;
using tinyxml2::XMLElement;

namespace {

// The MAC address is compared with the platform's adapters in lower case.
std::string AsciiLower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

}  // namespace

void ReadInterfaces(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  for (const XMLElement* e = FirstPolicyElement(doc, {"Interfaces", "Interface"}); e != nullptr;
       e = e->NextSiblingElement()) {
    auto byId = std::make_unique<AttrMap>();
    auto byMac = std::make_unique<AttrMap>();
    // The IPs first, as "IPs.IP.<n>.<attribute>", then the element's own
    // attributes. The IPs are walked as a pass walks, from the first IP on,
    // so that the numbering matches the IPs that ipsMap takes.
    const XMLElement* ips = e->FirstChildElement("IPs");
    int n = 0;
    for (const XMLElement* ip = ips != nullptr ? ips->FirstChildElement("IP") : nullptr; ip != nullptr;
         ip = ip->NextSiblingElement()) {
      std::string prefix = "IPs.IP." + std::to_string(n++) + ".";
      CopyAttributes(*ip, *byId, prefix);
      CopyAttributes(*ip, *byMac, prefix);
    }
    for (const XMLAttribute* a = e->FirstAttribute(); a != nullptr; a = a->Next()) {
      std::string name = a->Name();
      std::string value = name == "mac" ? AsciiLower(a->Value()) : a->Value();
      InsertAttr(*byId, name, value);
      InsertAttr(*byMac, name, value);
    }
    // Each map is dropped alone when it lacks its key.
    StoreByKey(rawConfig.interfaceMap, "id", std::move(byId));
    StoreByKey(rawConfig.interfaceByMacMap, "mac", std::move(byMac));
  }
}

void ReadFirstInterfaceIps(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  // Only the first Interface: IPs of later ones stay unknown to ipsMap, and a
  // filter bound to them fails with "cannot find ipId". So the system
  // behaves.
  ReadById(doc, {"Interfaces", "Interface", "IPs", "IP"}, rawConfig.ipsMap);
}
