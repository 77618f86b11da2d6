#include "policy/platform_interfaces.h"

#include <cstdio>
#include <memory>

#include "log/debug_log.h"
#include "util/mac_text.h"

namespace {

constexpr uint32_t kIfTypePpp = 23;
constexpr uint32_t kIfTypeSoftwareLoopback = 24;
constexpr uint32_t kIfTypeSlip = 28;
constexpr uint32_t kIfTypeTunnel = 131;
constexpr uint32_t kIfTypeIeee1394 = 144;
constexpr uint32_t kRasSpecificIpAddr = 0x2;  // RASEO_SpecificIpAddr
constexpr const char* kNoAddress = "0.0.0.0";

// Erase, then insert: a plain insertion would keep the first value.
void ReplaceAttr(AttrMap& attrs, const std::string& key, const std::string& value) {
  attrs.erase(key);
  InsertAttr(attrs, key, value);
}

}  // namespace

bool IsDialUp(const PlatformAdapter& adapter, AdapterList list) {
  return adapter.ifType == kIfTypePpp || (list == AdapterList::Info && adapter.ifType == kIfTypeSlip);
}

std::string RasGuidText(uint32_t data1, uint16_t data2, uint16_t data3, const unsigned char data4[8]) {
  char text[40];
  std::snprintf(text, sizeof text, "%08lx-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x",
                static_cast<unsigned long>(data1), data2, data3, data4[0], data4[1], data4[2], data4[3], data4[4],
                data4[5], data4[6], data4[7]);
  return text;
}

std::string SetMacAttributes(AttrMap& attrs, std::string address) {
  std::string bytes = address;
  std::string mac = BytesToMacText(bytes);
  // The raw bytes get the lower-casing pass that the text gets; nothing
  // reads MACBinary but the closing dump, and the pass stays as it is.
  for (char& c : address)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 0x20);
  InsertAttr(attrs, "MACBinary", address);
  InsertAttr(attrs, "mac", mac);
  return mac;
}

bool GetRASConnectionInfo(AttrMap& attrs, const std::vector<RasConnection>& connections) {
  auto nameIt = attrs.find("name");
  if (nameIt == attrs.end()) {
    ZENT_LOG(1, L"cannot find Name attr for platformIfAttr\n");
    return false;
  }
  std::string name = nameIt->second;
  if (name.size() == 38 && name.front() == '{' && name.back() == '}') name = name.substr(1, 36);
  // Exact comparison: a GUID name in upper case does not match the entry's
  // lower-case GUID text.
  const RasConnection* match = nullptr;
  for (const RasConnection& connection : connections) {
    if (name == connection.entryName || name == connection.guidText) {
      match = &connection;
      break;
    }
  }
  if (match == nullptr) return false;
  ReplaceAttr(attrs, "name", match->entryName);
  if (match->entryOptions) ReplaceAttr(attrs, "dhcp", (*match->entryOptions & kRasSpecificIpAddr) ? "false" : "true");
  return true;
}

namespace {

bool Skipped(const PlatformAdapter& adapter, AdapterList list) {
  if (adapter.ifType == kIfTypeSoftwareLoopback) return true;
  // The older list knows neither the newer types nor adapters without an
  // address: they are listed, the latter under an empty MAC text.
  if (list == AdapterList::Info) return false;
  return adapter.ifType == kIfTypeTunnel || adapter.ifType == kIfTypeIeee1394 || adapter.address.empty();
}

}  // namespace

void GetPlatformInterfaces(AttrMapIndex& map, const std::vector<PlatformAdapter>& adapters,
                           const std::vector<RasConnection>& connections, AdapterList list) {
  for (const PlatformAdapter& adapter : adapters) {
    if (Skipped(adapter, list)) continue;
    auto attrs = std::make_unique<AttrMap>();
    InsertAttr(*attrs, "id", "0");
    std::string mac = SetMacAttributes(*attrs, adapter.address);
    ZENT_LOG(4, L"Adapter: MACAddress('%S')\n", mac);
    ZENT_LOG(4, L"Adapter: Name('%s')\n", adapter.friendlyName);
    InsertAttr(*attrs, "name", adapter.name);
    if (list == AdapterList::Addresses) InsertAttr(*attrs, "Mtu", std::to_string(adapter.mtu));
    if (IsDialUp(adapter, list)) {
      InsertAttr(*attrs, "dhcp", "true");
      GetRASConnectionInfo(*attrs, connections);  // an adapter without a connection stays as listed
    } else {
      InsertAttr(*attrs, "dhcp", adapter.dhcpEnabled ? "true" : "false");
    }
    // The older list has no up state: its addresses are all taken.
    if (adapter.up || list == AdapterList::Info) {
      // Every walk leaves out "0.0.0.0"; the address family is not looked at.
      std::string ips, dnsServers, gateways;
      for (const std::string& address : adapter.unicastAddresses) {
        ZENT_LOG(4, L"Adapter: Ipaddress('%S')\n", address);
        if (address != kNoAddress) ips += (ips.empty() ? "" : "+") + address;
      }
      for (const std::string& address : adapter.dnsServers) {
        ZENT_LOG(4, L"Adapter: Dns Server('%S')\n", address);
        if (address != kNoAddress) dnsServers += (dnsServers.empty() ? "" : ",") + address;
      }
      for (const std::string& address : adapter.gateways) {
        ZENT_LOG(4, L"Adapter: Gateway('%S')\n", address);
        if (address != kNoAddress) gateways += (gateways.empty() ? "" : ",") + address;
      }
      if (!ips.empty()) InsertAttr(*attrs, "IPs", ips);
      if (!dnsServers.empty()) InsertAttr(*attrs, "DNSServers", dnsServers);
      if (!gateways.empty()) InsertAttr(*attrs, "Gateway", gateways);
    }
    // Two adapters with one MAC: the first in list order stands.
    InsertAttrMap(map, mac, std::move(attrs));
  }
}
