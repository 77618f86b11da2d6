#include "policy/packet_filters.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "policy/interface_mask.h"
#include "service/debug_log.h"
#include "service/settings.h"

using tinyxml2::XMLElement;

namespace {

// One attribute that a filter's walk set on a child element; views into the
// filter's AttrMap.
struct ChildAttribute {
  std::string_view elementName;
  std::string_view attrName;
  std::string_view attrValue;
};

// Copies a packet filter's attributes onto packetFilter, in key order. A key
// "Element.attr", which the load made of one of the manager's child
// elements, is split at its first "." and goes to the child element of that
// name, made on first use. On the side named replacedSide (null: none) the
// child is made but gets none of the manager's attributes: the bound host
// address replaces them. Returns whether that happened; added (unless null)
// receives what went to child elements, for the caller's log.
bool CopyFilterAttributes(XMLElement* packetFilter, const AttrMap& attrs, const char* replacedSide,
                          std::vector<ChildAttribute>* added) {
  bool replaced = false;
  // Keys with one element name follow each other in key order, so the child
  // last found or made is the one for the next key of that name.
  std::string elementName, attrName;
  XMLElement* child = nullptr;
  for (const auto& [key, value] : attrs) {
    size_t dot = key.find('.');
    if (dot == std::string::npos) {
      packetFilter->SetAttribute(key.c_str(), value.c_str());
      continue;
    }
    std::string_view name(key.data(), dot);
    if (child == nullptr || name != elementName) {
      elementName.assign(name);
      child = packetFilter->FirstChildElement(elementName.c_str());
      if (child == nullptr) child = packetFilter->InsertNewChildElement(elementName.c_str());
    }
    if (replacedSide != nullptr && elementName == replacedSide) {
      replaced = true;
      continue;
    }
    attrName.assign(key, dot + 1);
    child->SetAttribute(attrName.c_str(), value.c_str());
    if (added != nullptr) added->push_back({name, std::string_view(key).substr(dot + 1), value});
  }
  return replaced;
}

}  // namespace

void WriteAttrElements(tinyxml2::XMLDocument& document, XMLElement* parent, const AttrMapIndex& map,
                       const char* elementName) {
  for (const auto& [key, attrs] : map) {
    XMLElement* element = document.NewElement(elementName);
    parent->InsertEndChild(element);
    for (const auto& [name, value] : *attrs) element->SetAttribute(name.c_str(), value.c_str());
  }
}

void WritePacketFilters(RawConfig& rawConfig, tinyxml2::XMLDocument& document, XMLElement* fset) {
  XMLElement* packetEngine = document.NewElement("PacketEngine");
  fset->InsertEndChild(packetEngine);
  WriteAttrElements(document, packetEngine, rawConfig.ipListMap, "IPList");
  WriteAttrElements(document, packetEngine, rawConfig.macListMap, "MacList");
  WriteAttrElements(document, packetEngine, rawConfig.portListMap, "PortList");
  WriteAttrElements(document, packetEngine, rawConfig.scheduleMap, "Schedule");
  WriteAttrElements(document, packetEngine, rawConfig.loggingPolicyMap, "LoggingPolicy");

  // The walk's log lines are gathered only when they will be written.
  const bool logAdded = s_Settings.DebugLevel >= 6;
  // Filters bound to a host IP: the filter's address on the side that
  // packetDirection names becomes the host's own address.
  auto from = rawConfig.packetFilterMap.cbegin();
  for (const auto& [filterId, ipIds] : rawConfig.filterIpIdMap) {
    auto filter = FindInOrder(rawConfig.packetFilterMap, from, filterId);
    if (filter == rawConfig.packetFilterMap.end()) {
      ZENT_LOG(1, L"cannot find packet filter id %S\n", filterId);
      continue;
    }
    const AttrMap& attrs = *filter->second;
    for (const std::string& ipId : ipIds) {
      auto ip = rawConfig.ipsMap.find(ipId);
      if (ip == rawConfig.ipsMap.end()) {
        ZENT_LOG(1, L"cannot find ipId=%S\n", ipId);
        continue;
      }
      XMLElement* packetFilter = packetEngine->InsertNewChildElement("packetFilter");
      auto direction = attrs.find("packetDirection");
      // The lax rule: a packetDirection that isn't a number reads as 0.
      int packetDirection = direction == attrs.end() ? 0 : std::atoi(direction->second.c_str());
      const char* hostSide = packetDirection == 1 ? "DestInfo" : "SourceInfo";
      std::vector<ChildAttribute> added;
      bool replaced = CopyFilterAttributes(packetFilter, attrs, hostSide, logAdded ? &added : nullptr);
      for (const ChildAttribute& a : added)
        ZENT_LOG(6, L"add elementName=%S, attrName=%S, attrValue=%S\n", a.elementName, a.attrName, a.attrValue);
      // A filter without an address on that side stays without one.
      if (!replaced) continue;
      // Comes behind the empty element of that name the walk made: the rule
      // compiler reads the second one.
      XMLElement* host = packetFilter->InsertNewChildElement(hostSide);
      auto ipAddress = ip->second->find("ipAddress");
      if (ipAddress == ip->second->end())
        ZENT_LOG(1, L"cannot find ipAddress\n");
      else
        host->SetAttribute("ip", ipAddress->second.c_str());
      host->SetAttribute("ipNot", "false");
      host->SetAttribute("ipType", "1");
    }
  }

  // Filters bound to interfaces: no address is replaced.
  from = rawConfig.packetFilterMap.cbegin();
  for (const auto& [filterId, interfaceIds] : rawConfig.filterInterfaceIdMap) {
    auto filter = FindInOrder(rawConfig.packetFilterMap, from, filterId);
    if (filter == rawConfig.packetFilterMap.end()) {
      ZENT_LOG(1, L"cannot find packet filter id %S\n", filterId);
      continue;
    }
    std::string mask = GetInterfaceMask(rawConfig, interfaceIds);
    XMLElement* packetFilter = packetEngine->InsertNewChildElement("packetFilter");
    // An absent mask stands for all interfaces.
    if (!mask.empty()) packetFilter->SetAttribute("interfaces", mask.c_str());
    std::vector<ChildAttribute> added;
    CopyFilterAttributes(packetFilter, *filter->second, nullptr, logAdded ? &added : nullptr);
    for (const ChildAttribute& a : added)
      ZENT_LOG(6, L"add elementName=%S, attrName=%S, attrValue=%S\n", a.elementName, a.attrName, a.attrValue);
  }
}
