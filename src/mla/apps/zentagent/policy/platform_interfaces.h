// The operating system's view of the machine's adapters: platformIfByMACMap.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "policy/attr_map.h"

// The system's two adapter lists. The newer one is the agent's; the older
// one stands behind it for a system whose newer list succeeded but gave no
// list back. The older list skips only loopback adapters, counts SLIP as
// dial-up too, has no MTU, no up state, no DNS servers and no gateways.
enum class AdapterList { Addresses, Info };

// One adapter of the system's adapter list, in list order.
struct PlatformAdapter {
  uint32_t ifType = 0;
  std::string address;  // physical address bytes
  std::u16string friendlyName;
  std::string name;  // the friendly name (the older list: the description) in the ANSI code page
  uint32_t mtu = 0;     // not in the older list
  bool dhcpEnabled = false;
  bool up = false;      // not in the older list, whose addresses are all taken
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

// PPP adapters, and in the older list SLIP ones too, are matched with the
// dial-up connections.
bool IsDialUp(const PlatformAdapter& adapter, AdapterList list);

// "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x" of a GUID.
std::string RasGuidText(uint32_t data1, uint16_t data2, uint16_t data3, const unsigned char data4[8]);

// The MAC text rule: sets `MACBinary` (the bytes, with 'A' to 'Z' lowered)
// and `mac` (lower-case hex pairs joined by ':'), and gives the text.
std::string SetMacAttributes(AttrMap& attrs, std::string address);

// Fills platformIfByMACMap from the adapter list, leaving out loopback,
// tunnel and IEEE 1394 adapters and those without an address (the older
// list: loopback adapters only). Dial-up adapters are matched with the
// active connections.
void GetPlatformInterfaces(AttrMapIndex& map, const std::vector<PlatformAdapter>& adapters,
                           const std::vector<RasConnection>& connections, AdapterList list = AdapterList::Addresses);

// Gives a dial-up adapter the name of its connection's entry and its `dhcp`
// from the entry's options. True when a connection matched.
bool GetRASConnectionInfo(AttrMap& attrs, const std::vector<RasConnection>& connections);

#ifdef _WIN32
// Lists the adapters through the IP helper, then merges the bridge's members
// (GetBridgeInterfaces). False, logged, when the list cannot be had.
bool GetPlatformInterfaces(AttrMapIndex& map);
// How a listing through the IP helper ended.
enum class AdapterListing { Listed, NoMemory, Failed };

// The older adapter list as records, in list order: the buffer grown once
// when the first is too small.
AdapterListing ListAdaptersInfo(std::vector<PlatformAdapter>& adapters);
// The active dial-up connections; none when they cannot be listed.
std::vector<RasConnection> ListRasConnections();
#endif
