#include <ws2tcpip.h>
#include <iphlpapi.h>

#include <cstddef>

#include "metadata/compute_hash.h"
#include "metadata/listen_port_objects.h"
#include "metadata/listen_ports_win.h"
#include "metadata/result_shell.h"

namespace {

// The walker's layouts are Windows' rows.
static_assert(offsetof(MIB_TCPTABLE, table) == 4 && sizeof(MIB_TCPROW) == 20);
static_assert(offsetof(MIB_TCPTABLE_OWNER_MODULE, table) == 8 && sizeof(MIB_TCPROW_OWNER_MODULE) == 160);
static_assert(offsetof(MIB_TCP6TABLE_OWNER_MODULE, table) == 8 && sizeof(MIB_TCP6ROW_OWNER_MODULE) == 192);
static_assert(offsetof(MIB_UDPTABLE, table) == 4 && sizeof(MIB_UDPROW) == 8);
static_assert(offsetof(MIB_UDPTABLE_OWNER_MODULE, table) == 8 && sizeof(MIB_UDPROW_OWNER_MODULE) == 160);
static_assert(offsetof(MIB_UDP6TABLE_OWNER_MODULE, table) == 8 && sizeof(MIB_UDP6ROW_OWNER_MODULE) == 176);
static_assert(offsetof(MIB_TCPROW_OWNER_MODULE, dwOwningPid) == rowfield::kTcpOwningPid &&
              offsetof(MIB_TCPROW_OWNER_MODULE, liCreateTimestamp) == rowfield::kTcpCreateTimestamp &&
              offsetof(MIB_TCPROW_OWNER_MODULE, dwRemotePort) == rowfield::kTcpRemotePort);
static_assert(offsetof(MIB_TCP6ROW_OWNER_MODULE, dwLocalPort) == rowfield::kTcp6LocalPort &&
              offsetof(MIB_TCP6ROW_OWNER_MODULE, ucRemoteAddr) == rowfield::kTcp6RemoteAddr &&
              offsetof(MIB_TCP6ROW_OWNER_MODULE, dwRemotePort) == rowfield::kTcp6RemotePort &&
              offsetof(MIB_TCP6ROW_OWNER_MODULE, dwOwningPid) == rowfield::kTcp6OwningPid);
static_assert(offsetof(MIB_UDPROW_OWNER_MODULE, dwOwningPid) == rowfield::kUdpOwningPid);
static_assert(offsetof(MIB_UDP6ROW_OWNER_MODULE, dwLocalPort) == rowfield::kUdp6LocalPort &&
              offsetof(MIB_UDP6ROW_OWNER_MODULE, dwOwningPid) == rowfield::kUdp6OwningPid);
static_assert(AF_INET == kFamilyInet && AF_INET6 == kFamilyInet6 && sizeof(sockaddr_in) == kSockaddrInLength &&
              sizeof(sockaddr_in6) == kSockaddrIn6Length);

// Bound at link time: every system has them.
ULONG WINAPI TcpTable(void* table, ULONG* size, BOOL order) {
  return GetTcpTable(static_cast<PMIB_TCPTABLE>(table), size, order);
}
ULONG WINAPI UdpTable(void* table, ULONG* size, BOOL order) {
  return GetUdpTable(static_cast<PMIB_UDPTABLE>(table), size, order);
}

bool NumericNameInfo(const uint8_t* sockaddrImage, int sockaddrLength, std::string& host, std::string& service,
                     uint32_t& error) {
  char hostText[1025];
  char serviceText[32];
  if (getnameinfo(reinterpret_cast<const sockaddr*>(sockaddrImage), sockaddrLength, hostText, sizeof hostText,
                  serviceText, sizeof serviceText, NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
    error = GetLastError();
    return false;
  }
  host = hostText;
  service = serviceText;
  return true;
}

void LookUpOwner(RowLayout layout, const uint8_t* row, ConnectionInfo& info) {
  const IpHelperEntries& ip = IpHelper();
  switch (layout) {
    case RowLayout::TcpRowOwnerModule:
      ZentCore::GetOwnerModuleInfo(ip.getOwnerModuleFromTcpEntry, "GetOwnerModuleFromTcpEntry", row, info);
      break;
    case RowLayout::Tcp6RowOwnerModule:
      ZentCore::GetOwnerModuleInfo(ip.getOwnerModuleFromTcp6Entry, "GetOwnerModuleFromTcp6Entry", row, info);
      break;
    case RowLayout::UdpRowOwnerModule:
      ZentCore::GetOwnerModuleInfo(ip.getOwnerModuleFromUdpEntry, "GetOwnerModuleFromUdpEntry", row, info);
      break;
    case RowLayout::Udp6RowOwnerModule:
      ZentCore::GetOwnerModuleInfo(ip.getOwnerModuleFromUdp6Entry, "GetOwnerModuleFromUdp6Entry", row, info);
      break;
    default:
      break;
  }
}

}  // namespace

bool GetHmdListenPorts(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                       const std::string& arg1, const std::string& arg2) {
  const bool detailed = arg1 == "detailed" || arg2 == "detailed";
  HmdResultShell shell = AddResultShell(document, results, "2", id);
  const IpHelperEntries& ip = IpHelper();
  TableBlock table4, table6;

  // IPv6 tables always come with owners, so a short query still tells the
  // owners of IPv6 sockets and not those of IPv4 ones.
  bool extended = ZentCore::GetNetworkTables(table4, table6, TcpTable, ip.getExtendedTcpTable, "GetExtendedTcpTable",
                                             detailed ? TCP_TABLE_OWNER_MODULE_LISTENER : TCP_TABLE_BASIC_LISTENER,
                                             TCP_TABLE_OWNER_MODULE_LISTENER);
  ReportListenPortTables("tcp", table4, table6, extended && detailed, LookUpOwner, document, shell.hostMetaDatas,
                         NumericNameInfo);

  extended = ZentCore::GetNetworkTables(table4, table6, UdpTable, ip.getExtendedUdpTable, "GetExtendedUdpTable",
                                        detailed ? UDP_TABLE_OWNER_MODULE : UDP_TABLE_BASIC, UDP_TABLE_OWNER_MODULE);
  ReportListenPortTables("udp", table4, table6, extended && detailed, LookUpOwner, document, shell.hostMetaDatas,
                         NumericNameInfo);
  ComputeHash(shell.result);
  return true;
}

void ConnectionToHmdqr(const sockaddr* address, int addressLength, const char* protocol, const char* ipVersion,
                       const ConnectionInfo& info, tinyxml2::XMLDocument& document,
                       tinyxml2::XMLElement* hostMetaDatas) {
  ConnectionToHmdqr(reinterpret_cast<const uint8_t*>(address), addressLength, protocol, ipVersion, info, document,
                    hostMetaDatas, NumericNameInfo);
}
