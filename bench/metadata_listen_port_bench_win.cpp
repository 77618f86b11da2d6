// getListenPorts answered in process by ParseQueryMetaXml, short and
// detailed, against the same eight table calls made bare (for each of TCP and
// UDP, IPv6 then IPv4, size first, then data), with 1,000 sockets of the
// bench's own open beside whatever the host has: a quarter each TCP and UDP,
// IPv4 and IPv6, on loopback.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
#include <iphlpapi.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/interleaved_rounds.h"
#include "bench/metadata_bench.h"
#include "metadata/parse_query_meta_xml.h"

namespace {

constexpr int kSockets = 1000;

std::vector<SOCKET> OpenSockets() {
  std::vector<SOCKET> sockets;
  for (int i = 0; i < kSockets; ++i) {
    bool v6 = i % 2 == 1, tcp = i % 4 < 2;
    SOCKET s = socket(v6 ? AF_INET6 : AF_INET, tcp ? SOCK_STREAM : SOCK_DGRAM, 0);
    if (s == INVALID_SOCKET) break;
    sockaddr_storage address{};
    int length;
    if (v6) {
      auto* a = reinterpret_cast<sockaddr_in6*>(&address);
      a->sin6_family = AF_INET6;
      a->sin6_addr.s6_addr[15] = 1;
      length = sizeof(sockaddr_in6);
    } else {
      auto* a = reinterpret_cast<sockaddr_in*>(&address);
      a->sin_family = AF_INET;
      a->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      length = sizeof(sockaddr_in);
    }
    if (bind(s, reinterpret_cast<sockaddr*>(&address), length) != 0 || (tcp && listen(s, 1) != 0)) {
      closesocket(s);
      break;
    }
    sockets.push_back(s);
  }
  return sockets;
}

// One table as the agent reads it, bare: the size, then the data.
size_t BareTable(decltype(&GetExtendedTcpTable) call, ULONG family, int tableClass) {
  DWORD size = 0;
  if (call(nullptr, &size, TRUE, family, static_cast<TCP_TABLE_CLASS>(tableClass), 0) != ERROR_INSUFFICIENT_BUFFER) {
    return 0;
  }
  std::vector<uint8_t> block(size, 0);
  call(block.data(), &size, TRUE, family, static_cast<TCP_TABLE_CLASS>(tableClass), 0);
  return block.size();
}

DWORD WINAPI ExtendedUdpTable(PVOID table, PDWORD size, BOOL order, ULONG family, TCP_TABLE_CLASS tableClass,
                              ULONG reserved) {
  return GetExtendedUdpTable(table, size, order, family, static_cast<UDP_TABLE_CLASS>(tableClass), reserved);
}

size_t BareCalls(bool detailed) {
  return BareTable(GetExtendedTcpTable, AF_INET6, TCP_TABLE_OWNER_MODULE_LISTENER) +
         BareTable(GetExtendedTcpTable, AF_INET, detailed ? TCP_TABLE_OWNER_MODULE_LISTENER : TCP_TABLE_BASIC_LISTENER) +
         BareTable(ExtendedUdpTable, AF_INET6, UDP_TABLE_OWNER_MODULE) +
         BareTable(ExtendedUdpTable, AF_INET, detailed ? UDP_TABLE_OWNER_MODULE : UDP_TABLE_BASIC);
}

std::wstring WriteRequest(const std::wstring& folder, const wchar_t* name, const char* arg1) {
  std::wstring path = folder + L"\\" + name;
  std::ofstream(std::filesystem::path(path), std::ios::binary)
      << "<Message><Request><RequestID>bench</RequestID><HostMetaDataQueries>"
      << "<HostMetaDataQuery id=\"1\" query=\"getListenPorts\" arg1=\"" << arg1 << "\"/>"
      << "</HostMetaDataQueries></Request></Message>";
  return path;
}

}  // namespace

void ListenPortQueryBench() {
  std::vector<SOCKET> sockets = OpenSockets();
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  std::wstring folder = std::wstring(temp) + L"listen_port_bench_" + std::to_wstring(GetCurrentProcessId());
  CreateDirectoryW(folder.c_str(), nullptr);
  std::wstring shortRequest = WriteRequest(folder, L"short.xml", "");
  std::wstring detailedRequest = WriteRequest(folder, L"detailed.xml", "detailed");
  std::wstring response = folder + L"\\response.xml";
  size_t sink = 0;
  std::vector<double> m = InterleavedMedians(
      5, {{"short", [&] { sink += ParseQueryMetaXml(shortRequest, response); }},
          {"short bare", [&] { sink += BareCalls(false); }},
          {"detailed", [&] { sink += ParseQueryMetaXml(detailedRequest, response); }},
          {"detailed bare", [&] { sink += BareCalls(true); }}});
  WIN32_FILE_ATTRIBUTE_DATA answer{};
  GetFileAttributesExW(response.c_str(), GetFileExInfoStandard, &answer);
  std::printf("%zu sockets of the bench's own open; last response %lu bytes (%zu)\n", sockets.size(),
              answer.nFileSizeLow, sink);
  PrintRatio("getListenPorts, short, against its 8 table calls bare", m[0], m[1], 1.2);
  PrintRatio("getListenPorts detailed, against its 8 table calls bare", m[2], m[3], 1.2);
  for (SOCKET s : sockets) closesocket(s);
  for (const std::wstring& path : {shortRequest, detailedRequest, response}) DeleteFileW(path.c_str());
  RemoveDirectoryW(folder.c_str());
}
