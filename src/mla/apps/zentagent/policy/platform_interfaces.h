// The operating system's view of the machine's adapters: platformIfByMACMap.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "policy/attr_map.h"

// One adapter of the system's adapter list, in list order.
struct PlatformAdapter {
  uint32_t ifType = 0;
  std::string address;  // physical address bytes
  std::u16string friendlyName;
  std::string name;  // the friendly name in the ANSI code page
  uint32_t mtu = 0;
  bool dhcpEnabled = false;
  bool up = false;
  // Numeric texts; an address that had none is not listed.
  std::vector<std::string> unicastAddresses;
  std::vector<std::string> dnsServers;
  std::vector<std::string> gateways;  // none when the system's record has no gateway list
};

// An active dial-up connection and the options of its phone-book entry.
struct RasConnection {
  std::string entryName;  // 8-bit
  std::string guidText;   // the entry's GUID, lower-case, without braces
  std::optional<uint32_t> entryOptions;  // absent when the entry cannot be read
};

// "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x" of a GUID.
std::string RasGuidText(uint32_t data1, uint16_t data2, uint16_t data3, const unsigned char data4[8]);

// The MAC text rule: sets `MACBinary` (the bytes, with 'A' to 'Z' lowered)
// and `mac` (lower-case hex pairs joined by ':'), and gives the text.
std::string SetMacAttributes(AttrMap& attrs, std::string address);

// Fills platformIfByMACMap from the adapter list, leaving out loopback,
// tunnel and IEEE 1394 adapters and those without an address. Dial-up
// adapters are matched with the active connections.
void GetPlatformInterfaces(AttrMapIndex& map, const std::vector<PlatformAdapter>& adapters,
                           const std::vector<RasConnection>& connections);

// Gives a dial-up adapter the name of its connection's entry and its `dhcp`
// from the entry's options. True when a connection matched.
bool GetRASConnectionInfo(AttrMap& attrs, const std::vector<RasConnection>& connections);

#ifdef _WIN32
// Lists the adapters through the IP helper, then merges the bridge's members
// (GetBridgeInterfaces). False, logged, when the list cannot be had.
bool GetPlatformInterfaces(AttrMapIndex& map);
// The active dial-up connections; none when they cannot be listed.
std::vector<RasConnection> ListRasConnections();
#endif
