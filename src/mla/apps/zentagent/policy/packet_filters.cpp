#include "policy/packet_filters.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "log/debug_log.h"
#include "policy/interface_mask.h"
#include "records/settings.h"

namespace {

// One attribute that a filter's walk set on a child element; views into the
// filter's AttrMap.
struct ChildAttribute {
  std::string_view elementName;
  std::string_view attrName;
  std::string_view attrValue;
};

// Prints a packet filter's attributes, in key order, into packetFilter,
// which the printer has just opened, after `first` (null: none), which a
// filter attribute of the same name replaces in its place. A key
// "Element.attr", which the load made of one of the manager's child
// elements, is split at its first "." and goes to the child element of that
// name; the keys of one child follow each other in key order, so each child
// is one run of keys. On the side named replacedSide (null: none) the child
// is printed but gets none of the manager's attributes: the bound host
// address replaces them. Returns whether that happened; added (unless null)
// receives what went to child elements, for the caller's log. The caller
// closes packetFilter.
bool PrintFilterAttributes(tinyxml2::XMLPrinter& out, const AttrMap& attrs, const std::pair<const char*, const char*>* first,
                           const char* replacedSide, std::vector<ChildAttribute>* added) {
  // A filter attribute named like `first` takes its value, in its place.
  std::string_view firstName;
  if (first != nullptr) {
    firstName = first->first;
    auto own = attrs.find(firstName);
    out.PushAttribute(first->first, own == attrs.end() ? first->second : own->second.c_str());
  }
  for (const auto& [key, value] : attrs)
    if (key.find('.') == std::string::npos && (first == nullptr || key != firstName))
      out.PushAttribute(key.c_str(), value.c_str());

  bool replaced = false;
  std::string elementName;
  bool childOpen = false;
  for (const auto& [key, value] : attrs) {
    size_t dot = key.find('.');
    if (dot == std::string::npos) continue;
    std::string_view name(key.data(), dot);
    if (!childOpen || name != elementName) {
      if (childOpen) out.CloseElement();
      elementName.assign(name);
      out.OpenElement(elementName.c_str());
      childOpen = true;
    }
    if (replacedSide != nullptr && elementName == replacedSide) {
      replaced = true;
      continue;
    }
    out.PushAttribute(key.c_str() + dot + 1, value.c_str());
    if (added != nullptr) added->push_back({name, std::string_view(key).substr(dot + 1), value});
  }
  if (childOpen) out.CloseElement();
  return replaced;
}

}  // namespace

void WriteAttrElements(tinyxml2::XMLPrinter& out, const AttrMapIndex& map, const char* elementName) {
  for (const auto& [key, attrs] : map) {
    out.OpenElement(elementName);
    for (const auto& [name, value] : *attrs) out.PushAttribute(name.c_str(), value.c_str());
    out.CloseElement();
  }
}

void WritePacketFilters(RawConfig& rawConfig, tinyxml2::XMLPrinter& out) {
  out.OpenElement("PacketEngine");
  WriteAttrElements(out, rawConfig.ipListMap, "IPList");
  WriteAttrElements(out, rawConfig.macListMap, "MacList");
  WriteAttrElements(out, rawConfig.portListMap, "PortList");
  WriteAttrElements(out, rawConfig.scheduleMap, "Schedule");
  WriteAttrElements(out, rawConfig.loggingPolicyMap, "LoggingPolicy");

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
      auto direction = attrs.find("packetDirection");
      // The lax rule: a packetDirection that isn't a number reads as 0.
      int packetDirection = direction == attrs.end() ? 0 : std::atoi(direction->second.c_str());
      const char* hostSide = packetDirection == 1 ? "DestInfo" : "SourceInfo";
      std::vector<ChildAttribute> added;
      out.OpenElement("packetFilter");
      bool replaced = PrintFilterAttributes(out, attrs, nullptr, hostSide, logAdded ? &added : nullptr);
      for (const ChildAttribute& a : added)
        ZENT_LOG(6, L"add elementName=%S, attrName=%S, attrValue=%S\n", a.elementName, a.attrName, a.attrValue);
      // A filter without an address on that side stays without one.
      if (replaced) {
        // Comes behind the empty element of that name the walk printed: the
        // rule compiler reads the second one.
        out.OpenElement(hostSide);
        auto ipAddress = ip->second->find("ipAddress");
        if (ipAddress == ip->second->end())
          ZENT_LOG(1, L"cannot find ipAddress\n");
        else
          out.PushAttribute("ip", ipAddress->second.c_str());
        out.PushAttribute("ipNot", "false");
        out.PushAttribute("ipType", "1");
        out.CloseElement();
      }
      out.CloseElement();
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
    // An absent mask stands for all interfaces.
    const std::pair<const char*, const char*> interfaces{"interfaces", mask.c_str()};
    std::vector<ChildAttribute> added;
    out.OpenElement("packetFilter");
    PrintFilterAttributes(out, *filter->second, mask.empty() ? nullptr : &interfaces, nullptr,
                          logAdded ? &added : nullptr);
    out.CloseElement();
    for (const ChildAttribute& a : added)
      ZENT_LOG(6, L"add elementName=%S, attrName=%S, attrValue=%S\n", a.elementName, a.attrName, a.attrValue);
  }
  out.CloseElement();
}
