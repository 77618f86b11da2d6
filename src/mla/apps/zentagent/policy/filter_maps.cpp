// Packet, stateful and payload filters, connection types, and the
// assignments that bind filters to interfaces.
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "policy/policy_tree.h"
#include "policy/raw_config_passes.h"

using tinyxml2::XMLAttribute;
using tinyxml2::XMLElement;

namespace {

// Copies an assignment's attributes one by one; false as soon as it turns
// out disabled.
bool CopyAssignment(const XMLElement& e, AttrMap& map) {
  std::vector<std::pair<std::string_view, std::string_view>> batch;
  batch.reserve(AttributeCount(e));
  for (const XMLAttribute* a = e.FirstAttribute(); a != nullptr; a = a->Next()) {
    // Only the exact text "true" disables: "True" stays as an ordinary
    // attribute and the assignment is kept.
    if (std::strcmp(a->Name(), "disabled") == 0 && std::strcmp(a->Value(), "true") == 0) return false;
    batch.emplace_back(a->Name(), a->Value());
  }
  map.InsertAll(batch);
  return true;
}

void ReadAssignments(const tinyxml2::XMLDocument& doc, const char* owner, const char* list, const char* element,
                     const char* keyName, AttrMapIndex& index) {
  for (const XMLElement* e = FirstPolicyElement(doc, {owner, list, element}); e != nullptr;
       e = e->NextSiblingElement()) {
    auto entry = std::make_unique<AttrMap>();
    if (CopyAssignment(*e, *entry)) StoreByKey(index, keyName, std::move(entry));
  }
}

}  // namespace

void ReadPacketFilters(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  std::string prefix;
  for (const XMLElement* e = FirstPolicyElement(doc, {"PacketFilters", "PacketFilter"}); e != nullptr;
       e = e->NextSiblingElement()) {
    auto entry = std::make_unique<AttrMap>();
    size_t count = AttributeCount(*e);
    for (const XMLElement* child = e->FirstChildElement(); child != nullptr; child = child->NextSiblingElement())
      count += AttributeCount(*child);
    entry->reserve(count);
    CopyAttributes(*e, *entry);
    // Children of any name pass through as "child.attribute"; the packet
    // filter writer splits them at the first ".".
    for (const XMLElement* child = e->FirstChildElement(); child != nullptr; child = child->NextSiblingElement()) {
      prefix.assign(child->Name());
      prefix += '.';
      CopyAttributes(*child, *entry, prefix);
    }
    StoreByKey(rawConfig.packetFilterMap, "id", std::move(entry));
  }
  // First insertion stands: a SecurityProfile assignment beats a HostFilters
  // one for the same filter.
  ReadAssignments(doc, "SecurityProfile", "PacketFilterAssignments", "PacketFilterAssignment", "packetFilterId",
                  rawConfig.packetFilterAssignmentMap);
  ReadAssignments(doc, "HostFilters", "PacketFilterAssignments", "PacketFilterAssignment", "packetFilterId",
                  rawConfig.packetFilterAssignmentMap);
}

void ReadStatefulFilters(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  ReadById(doc, {"StatefulFilters", "StatefulFilter"}, rawConfig.statefulMap);
  // One stateful filter may be assigned many times: the key is its id, ".",
  // and an ordinal that runs across both lists from 1, counting only the
  // entries that reach the map.
  int ordinal = 0;
  for (const char* owner : {"HostFilters", "SecurityProfile"}) {
    for (const XMLElement* e = FirstPolicyElement(doc, {owner, "StatefulFilterAssignments", "StatefulFilterAssignment"});
         e != nullptr; e = e->NextSiblingElement()) {
      auto entry = std::make_unique<AttrMap>();
      if (!CopyAssignment(*e, *entry)) continue;
      auto id = entry->find("statefulFilterId");
      if (id == entry->end()) continue;
      std::string key = id->second + "." + std::to_string(++ordinal);
      InsertAttrMap(rawConfig.statefulAssignmentMap, std::move(key), std::move(entry));
    }
  }
}

void ReadConnectionTypes(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  for (const XMLElement* e = FirstPolicyElement(doc, {"ConnectionTypes", "ConnectionType"}); e != nullptr;
       e = e->NextSiblingElement()) {
    auto entry = std::make_unique<AttrMap>();
    CopyAttributes(*e, *entry);
    if (const XMLElement* address = e->FirstChildElement("AddressInfo")) CopyAttributes(*address, *entry, "AddressInfo.");
    StoreByKey(rawConfig.connectionMap, "id", std::move(entry));
  }
}

void ReadPayloadFilters(const tinyxml2::XMLDocument& doc, RawConfig& rawConfig) {
  ReadById(doc, {"PayloadFilter2s", "PayloadFilter2"}, rawConfig.payloadFilterMap);
  // The reverse of packet filters, on purpose: a HostFilters assignment
  // beats a SecurityProfile one for the same filter.
  ReadAssignments(doc, "HostFilters", "PayloadFilter2Assignments", "PayloadFilter2Assignment", "payloadFilter2Id",
                  rawConfig.payloadFilterAssignmentMap);
  ReadAssignments(doc, "SecurityProfile", "PayloadFilter2Assignments", "PayloadFilter2Assignment", "payloadFilter2Id",
                  rawConfig.payloadFilterAssignmentMap);
}
