#include "policy/filter_assignments.h"

#include <initializer_list>

#include "policy/strict_attribute.h"
#include "service/debug_log.h"

namespace {

// The name of a map of RawConfig, for the report of a bad number in it.
const char* MapName(RawConfig& rawConfig, const AttrMapIndex& map) {
  for (const RawConfigMapRef& ref : RawConfigMaps(rawConfig))
    if (ref.map == &map) return ref.name;
  return "assignment map";
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
  target.try_emplace(filterId, std::initializer_list<std::string>{std::to_string(number)});
  if (byIp)
    ZENT_LOG(6, L"Added %s filter %S to ip %d\n", filterType, filterId, number);
  else
    ZENT_LOG(6, L"Added %s filter %S to interface %d\n", filterType, filterId, number);
}

void ProcessFilters(RawConfig& rawConfig, const wchar_t* filterType, const AttrMapIndex& assignmentMap,
                    const AttrMapIndex& filterMap) {
  const char* mapName = MapName(rawConfig, assignmentMap);
  for (const auto& [filterId, assignment] : assignmentMap) {
    if (filterMap.find(filterId) == filterMap.end()) {
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
      for (const auto& [key, attrs] : rawConfig.workingIfMap) {
        int32_t typeId = 0;
        if (!StrictAttribute(rawConfig, "workingIfMap", key, *attrs, "typeId", typeId) || typeId != interfaceTypeId)
          continue;
        int32_t id = 0;
        if (StrictAttribute(rawConfig, "workingIfMap", key, *attrs, "id", id))
          AddFilter(rawConfig, filterType, filterId, id, 0);
      }
    } else if (ipId != 0) {
      for (const auto& [key, attrs] : rawConfig.workingIfMap) {
        for (int n = 0;; ++n) {
          std::string ipKey = "IPs.IP." + std::to_string(n) + ".id";
          if (attrs->find(ipKey) == attrs->end()) break;
          int32_t id = 0;
          if (StrictAttribute(rawConfig, "workingIfMap", key, *attrs, ipKey, id) && id == ipId)
            AddFilter(rawConfig, filterType, filterId, 0, ipId);
        }
      }
    }
  }
}
