// Inputs of the tests of the writers that bind filters to interfaces:
// interfaces of workingIfMap as the interface join leaves them.
#pragma once

#include <string>
#include <vector>

#include "policy/raw_config.h"

// An interface with `id`, `typeId`, `driverIfconfig.id` and its IP ids under
// "IPs.IP.n.id".
void AddWorkingInterface(RawConfig& rawConfig, const std::string& id, const std::string& typeId,
                         const std::string& driverId, const std::vector<std::string>& ipIds);
