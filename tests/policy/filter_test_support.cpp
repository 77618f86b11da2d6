#include "filter_test_support.h"

#include <memory>

#include "policy_test_support.h"

void AddWorkingInterface(RawConfig& rawConfig, const std::string& id, const std::string& typeId,
                         const std::string& driverId, const std::vector<std::string>& ipIds) {
  auto attrs = std::make_unique<AttrMap>();
  (*attrs)["id"] = id;
  (*attrs)["typeId"] = typeId;
  (*attrs)["driverIfconfig.id"] = driverId;
  for (size_t n = 0; n < ipIds.size(); ++n) (*attrs)["IPs.IP." + std::to_string(n) + ".id"] = ipIds[n];
  InsertAttrMap(rawConfig.workingIfMap, id, std::move(attrs));
}
