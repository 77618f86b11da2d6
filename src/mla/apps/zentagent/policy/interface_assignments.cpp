#include "policy/interface_assignments.h"

#include <cstdint>
#include <cstdlib>
#include <string>

#include "log/debug_log.h"
#include "policy/element_attributes.h"
#include "policy/strict_attribute.h"

namespace {

// The lax rule: absent or not a number reads as 0.
int LaxAttribute(const AttrMap& attrs, const char* key) {
  auto it = attrs.find(key);
  return it == attrs.end() ? 0 : std::atoi(it->second.c_str());
}

// The first interface of workingIfMap, in key order, whose attribute key
// equals value by the strict rule; one without the attribute doesn't match.
const AttrMap* FirstInterfaceWith(RawConfig& rawConfig, const char* key, int value) {
  for (const auto& [id, attrs] : rawConfig.workingIfMap) {
    int32_t number = 0;
    if (StrictAttribute(rawConfig, "workingIfMap", id, *attrs, key, number) && number == value) return attrs.get();
  }
  return nullptr;
}

}  // namespace

void ProcessInterfaceAssignments(RawConfig& rawConfig, tinyxml2::XMLPrinter& out) {
  // Keys are the filter id, "." and an ordinal, in byte order: "7.10" comes
  // before "7.2".
  for (const auto& [key, assignment] : rawConfig.statefulAssignmentMap) {
    std::string statefulFilterId = key.substr(0, key.find('.'));
    ZENT_LOG(6, L"stateful assignment: statefulFilterId=%S\n", statefulFilterId);
    auto filter = rawConfig.statefulMap.find(statefulFilterId);
    if (filter == rawConfig.statefulMap.end()) {
      ZENT_LOG(1, L"stateful assignment: cannot find statefulFilterId=%S\n", statefulFilterId);
      continue;
    }
    auto all = assignment->find("all");
    bool global = all != assignment->end() && all->second == "true";
    int interfaceId = LaxAttribute(*assignment, "interfaceId");
    int interfaceTypeId = LaxAttribute(*assignment, "interfaceTypeId");

    // The type comes before the id here, the reverse of the filters'
    // assignments; by type only the first interface of that type is bound.
    const AttrMap* target = nullptr;
    if (!global) {
      if (interfaceTypeId != 0)
        target = FirstInterfaceWith(rawConfig, "typeId", interfaceTypeId);
      else if (interfaceId != 0)
        target = FirstInterfaceWith(rawConfig, "id", interfaceId);
      if (target == nullptr) continue;
    }

    // A policy attribute named like one set here gives up its value and
    // keeps its place.
    ElementAttributes interfaceConfig;
    for (const auto& [name, value] : *filter->second)
      interfaceConfig.Set(name == "name" ? "statefulConfiguration" : name.c_str(), value.c_str());
    std::string interfaceNumber = "0";
    if (global) {
      interfaceConfig.Set("name", "global");
    } else {
      auto name = target->find("name");
      interfaceConfig.Set("name", name == target->end() ? "" : name->second.c_str());
      interfaceNumber = std::to_string(LaxAttribute(*target, "driverIfconfig.id"));
    }
    interfaceConfig.Set("interface", interfaceNumber.c_str());
    out.OpenElement("InterfaceConfig");
    interfaceConfig.Print(out);
    out.CloseElement();
  }
}
