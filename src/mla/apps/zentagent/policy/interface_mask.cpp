#include "policy/interface_mask.h"

#include "policy/strict_attribute.h"

std::string GetInterfaceMask(RawConfig& rawConfig, const std::set<std::string, BytewiseLess>& idSet) {
  uint32_t mask = 0;
  for (const std::string& id : idSet) {
    auto it = rawConfig.workingIfMap.find(id);
    if (it == rawConfig.workingIfMap.end()) continue;
    int32_t driverId = 0;
    StrictAttribute(rawConfig, "workingIfMap", id, *it->second, "driverIfconfig.id", driverId);
    // The bit of the number modulo 32, negative numbers as C++ takes them.
    mask |= uint32_t{1} << (static_cast<uint32_t>(driverId) % 32);
  }
  return mask == 0 ? std::string() : std::to_string(mask);
}
