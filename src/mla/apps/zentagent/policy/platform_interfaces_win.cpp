// The adapter list through the IP helper, gathered into plain records.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <iphlpapi.h>
#include <windows.h>

#include <cstdlib>

#include "log/debug_log.h"
#include "policy/bridge_interfaces.h"
#include "policy/platform_interfaces.h"
#include "util/text_win.h"

namespace {

constexpr ULONG kFirstBufferSize = 4480;
constexpr ULONG kFirstInfoBufferSize = 7040;
// A record this long or longer carries the gateway list.
constexpr ULONG kRecordLengthWithGateways = 448;

// The numeric texts of a list of addresses; an address without one is left
// out.
template <class Entry>
std::vector<std::string> NumericAddresses(const Entry* first) {
  std::vector<std::string> texts;
  for (const Entry* entry = first; entry != nullptr; entry = entry->Next) {
    char host[1025];
    if (getnameinfo(entry->Address.lpSockaddr, entry->Address.iSockaddrLength, host, sizeof host, nullptr, 0,
                    NI_NUMERICHOST) != 0)
      continue;
    texts.push_back(host);
  }
  return texts;
}

PlatformAdapter ToRecord(const IP_ADAPTER_ADDRESSES& a) {
  PlatformAdapter adapter;
  adapter.ifType = a.IfType;
  adapter.address.assign(reinterpret_cast<const char*>(a.PhysicalAddress), a.PhysicalAddressLength);
  const wchar_t* friendlyName = a.FriendlyName != nullptr ? a.FriendlyName : L"";
  adapter.friendlyName.assign(reinterpret_cast<const char16_t*>(friendlyName));
  adapter.name = wideToAnsi(friendlyName);
  adapter.mtu = a.Mtu;
  adapter.dhcpEnabled = (a.Flags & IP_ADAPTER_DHCP_ENABLED) != 0;
  adapter.up = a.OperStatus == IfOperStatusUp;
  adapter.unicastAddresses = NumericAddresses(a.FirstUnicastAddress);
  adapter.dnsServers = NumericAddresses(a.FirstDnsServerAddress);
  if (a.Length >= kRecordLengthWithGateways) adapter.gateways = NumericAddresses(a.FirstGatewayAddress);
  return adapter;
}

PlatformAdapter ToRecord(const IP_ADAPTER_INFO& a) {
  PlatformAdapter adapter;
  adapter.ifType = a.Type;
  adapter.address.assign(reinterpret_cast<const char*>(a.Address), a.AddressLength);
  adapter.name = a.Description;
  std::wstring description = ansiToWide(a.Description);
  adapter.friendlyName.assign(reinterpret_cast<const char16_t*>(description.c_str()));
  adapter.dhcpEnabled = a.DhcpEnabled != 0;
  for (const IP_ADDR_STRING* ip = &a.IpAddressList; ip != nullptr; ip = ip->Next)
    adapter.unicastAddresses.push_back(ip->IpAddress.String);
  return adapter;
}

}  // namespace

AdapterListing ListAdaptersInfo(std::vector<PlatformAdapter>& adapters) {
  ULONG size = kFirstInfoBufferSize;
  auto* list = static_cast<IP_ADAPTER_INFO*>(std::malloc(size));
  if (list == nullptr) return AdapterListing::NoMemory;
  ULONG result = GetAdaptersInfo(list, &size);
  if (result == ERROR_BUFFER_OVERFLOW) {
    std::free(list);
    list = static_cast<IP_ADAPTER_INFO*>(std::malloc(size));
    if (list == nullptr) return AdapterListing::NoMemory;
    result = GetAdaptersInfo(list, &size);
  }
  if (result != NO_ERROR) {
    std::free(list);
    return AdapterListing::Failed;
  }
  for (const IP_ADAPTER_INFO* a = list; a != nullptr; a = a->Next) adapters.push_back(ToRecord(*a));
  std::free(list);
  return AdapterListing::Listed;
}

bool GetPlatformInterfaces(AttrMapIndex& map) {
  OSVERSIONINFOW os = {};
  os.dwOSVersionInfoSize = sizeof os;  // 276
  GetVersionExW(&os);
  // Before 5.1 no adapter is listed; a bridge's members still may be.
  if (os.dwMajorVersion < 5 || (os.dwMajorVersion == 5 && os.dwMinorVersion < 1)) {
    GetBridgeInterfaces(map);
    return true;
  }
  ULONG size = kFirstBufferSize;
  auto* list = static_cast<IP_ADAPTER_ADDRESSES*>(std::malloc(size));
  if (list == nullptr) {
    ZENT_LOG(1, L"GetInterfaces() - error allocating memory.\n");
    return false;
  }
  ULONG flags = os.dwMajorVersion >= 6 ? GAA_FLAG_INCLUDE_GATEWAYS : 0;
  ZENT_LOG(5, L"Calling GetAdaptersAddresses\n");
  ULONG result = GetAdaptersAddresses(AF_UNSPEC, flags, nullptr, list, &size);
  if (result == ERROR_BUFFER_OVERFLOW) {
    ZENT_LOG(4, L"Buffer overflow\n");
    std::free(list);
    list = static_cast<IP_ADAPTER_ADDRESSES*>(std::malloc(size));
    if (list == nullptr) {
      ZENT_LOG(1, L"GetInterfaces() - error allocating memory.\n");
      return false;
    }
    ZENT_LOG(4, L"Calling GetAdaptersAddresses Again\n");
    result = GetAdaptersAddresses(AF_UNSPEC, flags, nullptr, list, &size);
  }
  if (result != NO_ERROR) {
    ZENT_LOG(1, L"GetInterfaces() - unable to list adapters\n");
    std::free(list);
    return false;
  }
  std::vector<PlatformAdapter> adapters;
  AdapterList listed = AdapterList::Addresses;
  if (list != nullptr) {
    ZENT_LOG(4, L"GetAdaptersAddresses Succeeded\n");
    for (const IP_ADAPTER_ADDRESSES* a = list; a != nullptr; a = a->Next) adapters.push_back(ToRecord(*a));
    std::free(list);
  } else {
    // A success that left no list: the older list stands in.
    listed = AdapterList::Info;
    AdapterListing listing = ListAdaptersInfo(adapters);
    if (listing == AdapterListing::NoMemory) {
      ZENT_LOG(1, L"GetInterfaces() - error allocating memory.\n");
      return false;
    }
    if (listing == AdapterListing::Failed) {
      ZENT_LOG(1, L"GetInterfaces() - unable to list adapters\n");
      return false;
    }
    ZENT_LOG(4, L"GetAdaptersInfo Succeeded\n");
  }
  bool dialUp = false;
  for (const PlatformAdapter& adapter : adapters) dialUp = dialUp || IsDialUp(adapter, listed);
  GetPlatformInterfaces(map, adapters, dialUp ? ListRasConnections() : std::vector<RasConnection>(), listed);
  GetBridgeInterfaces(map);
  return true;
}
