// The machine's interfaces as zentpolicy takes them from a file instead of
// the machine, a JSON document:
//   {"driver":   [{"id": 3, "mac": "00:0c:29:aa:bb:cc", "name": "Ethernet0"}],
//    "adapters": [{"type": 6, "mac": "00:0c:29:aa:bb:cc", "name": "Ethernet0",
//                  "mtu": 1500, "dhcp": true, "up": true,
//                  "addresses": ["10.0.0.5"], "dns": ["10.0.0.1"],
//                  "gateways": ["10.0.0.1"]}]}
// Both lists are optional; so is every member but "mac".
#pragma once

#include <string>
#include <vector>

#include "policy/driver_interfaces.h"
#include "policy/platform_interfaces.h"

namespace zentpolicy {

// False with the reason in error for a document not of that form.
bool ReadInterfacesFile(const std::string& json, std::vector<DriverInterface>& driver,
                        std::vector<PlatformAdapter>& adapters, std::string& error);

}  // namespace zentpolicy
