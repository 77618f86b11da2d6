#include "policy/filter_assignments.h"

#include <initializer_list>
#include <vector>

#include "log/debug_log.h"
#include "policy/strict_attribute.h"
#include "policy/strict_integer.h"

namespace {

// The name of a map of RawConfig, for the report of a bad number in it.
const char* MapName(RawConfig& rawConfig, const AttrMapIndex& map) {
  for (const RawConfigMapRef& ref : RawConfigMaps(rawConfig))
    if (ref.map == &map) return ref.name;
  return "assignment map";
}

// A number of an interface of workingIfMap by the strict rule, read once for
// all the assignments of a family. A bad one is read again, through
// StrictAttribute, wherever an assignment asks for it, so that it is
// reported at each such place as before.
struct InterfaceNumber {
  std::string key;
  bool present = false;
  bool valid = false;
  int32_t value = 0;
};

struct InterfaceNumbers {
  const std::string* id;  // the key in workingIfMap
  const AttrMap* attrs;
  InterfaceNumber typeId, ifId;
  std::vector<InterfaceNumber> ipIds;  // "IPs.IP.0.id" on, up to the first missing one
};

InterfaceNumber ReadInterfaceNumber(const AttrMap& attrs, std::string key) {
  InterfaceNumber number;
  auto it = attrs.find(key);
  number.key = std::move(key);
  if (it == attrs.end()) return number;
  number.present = true;
  number.valid = StrictStoi(it->second, number.value) == StrictIntegerResult::Ok;
  return number;
}

std::vector<InterfaceNumbers> ReadInterfaceNumbers(const RawConfig& rawConfig) {
  std::vector<InterfaceNumbers> interfaces;
  for (const auto& [id, attrs] : rawConfig.workingIfMap) {
    InterfaceNumbers numbers{&id, attrs.get(), ReadInterfaceNumber(*attrs, "typeId"), ReadInterfaceNumber(*attrs, "id"),
                             {}};
    for (int n = 0;; ++n) {
      InterfaceNumber ipId = ReadInterfaceNumber(*attrs, "IPs.IP." + std::to_string(n) + ".id");
      if (!ipId.present) break;
      numbers.ipIds.push_back(std::move(ipId));
    }
    interfaces.push_back(std::move(numbers));
  }
  return interfaces;
}

// StrictAttribute's answer for a number read before: true with the value,
// or false (an absent attribute; a bad number, reported and marked).
bool InterfaceAttribute(RawConfig& rawConfig, const InterfaceNumbers& interface, const InterfaceNumber& number,
                        int32_t& value) {
  value = number.valid ? number.value : 0;
  if (number.valid || !number.present) return number.valid;
  return StrictAttribute(rawConfig, "workingIfMap", *interface.id, *interface.attrs, number.key, value);
}

}  // namespace

void AddFilter(RawConfig& rawConfig, const wchar_t* filterType, const std::string& filterId, int32_t interfaceId,
               int32_t ipId) {
  bool byIp = ipId != 0;
  IdSetMap& target = byIp ? rawConfig.filterIpIdMap : rawConfig.filterInterfaceIdMap;
  int32_t number = byIp ? ipId : interfaceId;
  // First binding stands: a filter already present keeps the one interface
  // or IP it met first, so an interface type that matches three interfaces
  // binds the filter to the first of them in workingIfMap only.
  // ProcessFilters binds in ascending filter id order: the hint at the end
  // spares the map a search from its root.
  target.try_emplace(target.end(), filterId, std::initializer_list<std::string>{std::to_string(number)});
  if (byIp)
    ZENT_LOG(6, L"Added %s filter %S to ip %d\n", filterType, filterId, number);
  else
    ZENT_LOG(6, L"Added %s filter %S to interface %d\n", filterType, filterId, number);
}

void ProcessFilters(RawConfig& rawConfig, const wchar_t* filterType, const AttrMapIndex& assignmentMap,
                    const AttrMapIndex& filterMap) {
  const char* mapName = MapName(rawConfig, assignmentMap);
  const std::vector<InterfaceNumbers> interfaces = ReadInterfaceNumbers(rawConfig);
  // Both maps are in the same key order: the filter of each assignment is
  // found by walking filterMap alongside.
  auto from = filterMap.begin();
  for (const auto& [filterId, assignment] : assignmentMap) {
    if (FindInOrder(filterMap, from, filterId) == filterMap.end()) {
      // "payload" for both families: the message's wording stands.
      ZENT_LOG(1, L"payload assignment not found: ID(%S), attr(%p)\n", filterId,
               static_cast<const void*>(assignment.get()));
      continue;
    }
    auto allIt = assignment->find("all");
    bool all = allIt != assignment->end() && allIt->second == "true";
    // All three numbers are read even for an `all` assignment, so that a bad
    // one fails the translation whatever the case.
    int32_t interfaceId = 0, interfaceTypeId = 0, ipId = 0;
    StrictAttribute(rawConfig, mapName, filterId, *assignment, "interfaceId", interfaceId);
    StrictAttribute(rawConfig, mapName, filterId, *assignment, "interfaceTypeId", interfaceTypeId);
    StrictAttribute(rawConfig, mapName, filterId, *assignment, "ipId", ipId);

    if (all) {
      // Interface "0" is nobody's id: its mask is empty, and no `interfaces`
      // attribute means all interfaces.
      AddFilter(rawConfig, filterType, filterId, 0, 0);
    } else if (interfaceId != 0) {
      if (rawConfig.workingIfMap.find(std::to_string(interfaceId)) == rawConfig.workingIfMap.end())
        ZENT_LOG(1, L"cannot find interfaceId in config for DPI filter assignment\n");
      else
        AddFilter(rawConfig, filterType, filterId, interfaceId, 0);
    } else if (interfaceTypeId != 0) {
      for (const InterfaceNumbers& interface : interfaces) {
        int32_t typeId = 0;
        if (!InterfaceAttribute(rawConfig, interface, interface.typeId, typeId) || typeId != interfaceTypeId) continue;
        int32_t id = 0;
        if (InterfaceAttribute(rawConfig, interface, interface.ifId, id))
          AddFilter(rawConfig, filterType, filterId, id, 0);
      }
    } else if (ipId != 0) {
      for (const InterfaceNumbers& interface : interfaces) {
        for (const InterfaceNumber& ip : interface.ipIds) {
          int32_t id = 0;
          if (InterfaceAttribute(rawConfig, interface, ip, id) && id == ipId)
            AddFilter(rawConfig, filterType, filterId, 0, ipId);
        }
      }
    }
  }
}
