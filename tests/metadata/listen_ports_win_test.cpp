// The Windows half of the listening ports query under Wine: the table reads
// through fakes that play iphlpapi (their calls, sizes and failures, and the
// log lines), the owner lookup likewise, and what Wine's own iphlpapi gives
// and lacks, with the handler over real sockets of this process.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <iphlpapi.h>

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <cstring>
#include <string>
#include <vector>

#include "metadata/listen_ports_win.h"
#include "util/captured_log.h"

namespace {

using Strings = std::vector<std::string>;

// One scripted answer of a table call: the result, and the size it reports
// (for 122) or the bytes it writes (for 0).
struct Answer {
  DWORD result;
  DWORD reportedSize;
};

struct TableCall {
  bool withBuffer;
  DWORD sizeIn;
  ULONG family;
  int tableClass;
  BOOL order;
};

// The extended call's fake: answers by family from a script, records calls.
struct FakeExtended {
  std::vector<Answer> answers6, answers4;
  std::vector<TableCall> calls;
};
FakeExtended* g_extended = nullptr;

DWORD WINAPI FakeGetExtendedTable(void* table, DWORD* size, BOOL order, ULONG family, int tableClass,
                                  ULONG reserved) {
  EXPECT_EQ(reserved, 0u);
  g_extended->calls.push_back({table != nullptr, *size, family, tableClass, order});
  std::vector<Answer>& script = family == 23 ? g_extended->answers6 : g_extended->answers4;
  if (script.empty()) return ERROR_GEN_FAILURE;
  Answer a = script.front();
  script.erase(script.begin());
  if (a.result == ERROR_INSUFFICIENT_BUFFER) *size = a.reportedSize;
  if (a.result == NO_ERROR && table != nullptr) std::memset(table, 0x5A, a.reportedSize);
  return a.result;
}

struct FakeTable {
  std::vector<Answer> answers;
  std::vector<TableCall> calls;
};
FakeTable* g_table = nullptr;

ULONG WINAPI FakeGetTable(void* table, ULONG* size, BOOL order) {
  g_table->calls.push_back({table != nullptr, *size, 0, 0, order});
  if (g_table->answers.empty()) return ERROR_GEN_FAILURE;
  Answer a = g_table->answers.front();
  g_table->answers.erase(g_table->answers.begin());
  if (a.result == ERROR_INSUFFICIENT_BUFFER) *size = a.reportedSize;
  return a.result;
}

class NetworkTables : public ::testing::Test {
 protected:
  void SetUp() override {
    g_extended = &extended;
    g_table = &plain;
  }
  void TearDown() override {
    g_extended = nullptr;
    g_table = nullptr;
  }
  FakeExtended extended;
  FakeTable plain;
  TableBlock table4{1}, table6{1};  // not empty, to see them cleared
};

TEST_F(NetworkTables, ExtendedCallRetriesOnceWithFourTimesForIpv6AndExactlyForIpv4) {
  CapturedLog log(6);
  extended.answers6 = {{ERROR_INSUFFICIENT_BUFFER, 100}, {NO_ERROR, 100}};
  extended.answers4 = {{ERROR_INSUFFICIENT_BUFFER, 60}, {NO_ERROR, 60}};
  EXPECT_TRUE(ZentCore::GetNetworkTables(table4, table6, FakeGetTable, FakeGetExtendedTable, "GetExtendedTcpTable",
                                         TCP_TABLE_BASIC_LISTENER, TCP_TABLE_OWNER_MODULE_LISTENER));
  ASSERT_EQ(extended.calls.size(), 4u);
  // IPv6 first: size 0 and no buffer, then the block four times the size.
  EXPECT_FALSE(extended.calls[0].withBuffer);
  EXPECT_EQ(extended.calls[0].sizeIn, 0u);
  EXPECT_EQ(extended.calls[0].family, 23u);
  EXPECT_EQ(extended.calls[0].tableClass, 6);
  EXPECT_EQ(extended.calls[0].order, TRUE);
  EXPECT_TRUE(extended.calls[1].withBuffer);
  EXPECT_EQ(extended.calls[1].sizeIn, 400u);
  EXPECT_EQ(extended.calls[2].family, 2u);
  EXPECT_EQ(extended.calls[2].tableClass, 0);
  EXPECT_FALSE(extended.calls[2].withBuffer);
  EXPECT_EQ(extended.calls[3].sizeIn, 60u);
  EXPECT_EQ(table6.size(), 400u);
  EXPECT_EQ(table4.size(), 60u);
  // Zero-filled beyond what the call wrote.
  EXPECT_EQ(table6[99], 0x5A);
  EXPECT_EQ(table6[100], 0);
  EXPECT_TRUE(plain.calls.empty());
  EXPECT_EQ(log.Text(), "");
}

TEST_F(NetworkTables, Ipv4TableThatGrewBetweenItsCallsIsLostAndLoggedAsAfInet6) {
  CapturedLog log(1);
  extended.answers6 = {{ERROR_INSUFFICIENT_BUFFER, 100}, {NO_ERROR, 100}};
  extended.answers4 = {{ERROR_INSUFFICIENT_BUFFER, 60}, {ERROR_INSUFFICIENT_BUFFER, 80}};
  EXPECT_TRUE(ZentCore::GetNetworkTables(table4, table6, nullptr, FakeGetExtendedTable, "GetExtendedUdpTable", 2, 2));
  EXPECT_TRUE(table4.empty());
  EXPECT_EQ(table6.size(), 400u);
  // No third try.
  EXPECT_EQ(extended.calls.size(), 4u);
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"GetNetworkTables: pGetExtendedTable failed: GetExtendedUdpTable(AF_INET6), err=122"}));
}

TEST_F(NetworkTables, Ipv6TableThatOutgrewItsBlockIsLostAndIpv4Stays) {
  CapturedLog log(1);
  extended.answers6 = {{ERROR_INSUFFICIENT_BUFFER, 100}, {ERROR_INSUFFICIENT_BUFFER, 500}};
  extended.answers4 = {{ERROR_INSUFFICIENT_BUFFER, 60}, {NO_ERROR, 60}};
  EXPECT_TRUE(ZentCore::GetNetworkTables(table4, table6, nullptr, FakeGetExtendedTable, "GetExtendedTcpTable", 6, 6));
  EXPECT_TRUE(table6.empty());
  EXPECT_EQ(table4.size(), 60u);
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"GetNetworkTables: pGetExtendedTable failed: GetExtendedTcpTable(AF_INET6), err=122"}));
}

TEST_F(NetworkTables, FirstResultsNotSupportedAndNoDataAreNotLogged) {
  CapturedLog log(6);
  for (DWORD first : {DWORD{ERROR_NOT_SUPPORTED}, DWORD{ERROR_NO_DATA}}) {
    extended.answers6 = {{first, 0}};
    extended.answers4 = {{first, 0}};
    EXPECT_TRUE(ZentCore::GetNetworkTables(table4, table6, nullptr, FakeGetExtendedTable, "GetExtendedTcpTable", 0, 6));
    EXPECT_TRUE(table6.empty());
    EXPECT_TRUE(table4.empty());
  }
  EXPECT_EQ(extended.calls.size(), 4u);
  EXPECT_EQ(log.Text(), "");
}

TEST_F(NetworkTables, OtherFirstResultForIpv6IsLoggedAndIpv4StillRead) {
  CapturedLog log(1);
  extended.answers6 = {{ERROR_INVALID_PARAMETER, 0}};
  extended.answers4 = {{ERROR_INSUFFICIENT_BUFFER, 24}, {NO_ERROR, 24}};
  EXPECT_TRUE(ZentCore::GetNetworkTables(table4, table6, nullptr, FakeGetExtendedTable, "GetExtendedTcpTable", 0, 6));
  EXPECT_TRUE(table6.empty());
  EXPECT_EQ(table4.size(), 24u);
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"GetNetworkTables: pGetExtendedTable failed: GetExtendedTcpTable(AF_INET6), err=87"}));
}

TEST_F(NetworkTables, OtherFirstResultForIpv4EndsQuietly) {
  CapturedLog log(1);
  extended.answers6 = {{ERROR_NO_DATA, 0}};
  extended.answers4 = {{ERROR_INVALID_PARAMETER, 0}};
  EXPECT_TRUE(ZentCore::GetNetworkTables(table4, table6, nullptr, FakeGetExtendedTable, "GetExtendedTcpTable", 0, 6));
  EXPECT_TRUE(table4.empty());
  EXPECT_EQ(extended.calls.size(), 2u);
  EXPECT_EQ(log.Text(), "");
}

TEST_F(NetworkTables, WithoutTheExtendedCallTheOlderOneGivesIpv4AloneAndFalse) {
  CapturedLog log(1);
  plain.answers = {{ERROR_INSUFFICIENT_BUFFER, 44}, {NO_ERROR, 44}};
  EXPECT_FALSE(ZentCore::GetNetworkTables(table4, table6, FakeGetTable, nullptr, "GetExtendedTcpTable", 6, 6));
  EXPECT_EQ(table4.size(), 44u);
  EXPECT_TRUE(table6.empty());
  ASSERT_EQ(plain.calls.size(), 2u);
  EXPECT_FALSE(plain.calls[0].withBuffer);
  EXPECT_EQ(plain.calls[0].sizeIn, 0u);
  EXPECT_EQ(plain.calls[0].order, TRUE);
  EXPECT_EQ(plain.calls[1].sizeIn, 44u);
  EXPECT_EQ(log.Text(), "");
}

TEST_F(NetworkTables, OlderCallsSecondFailureIsLogged) {
  CapturedLog log(1);
  plain.answers = {{ERROR_INSUFFICIENT_BUFFER, 44}, {ERROR_INSUFFICIENT_BUFFER, 64}};
  EXPECT_FALSE(ZentCore::GetNetworkTables(table4, table6, FakeGetTable, nullptr, "GetExtendedTcpTable", 6, 6));
  EXPECT_TRUE(table4.empty());
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"GetNetworkTables: pGetTable failed: err=122"}));
}

TEST_F(NetworkTables, NeitherCallLogsNoApisAvailable) {
  CapturedLog log(1);
  EXPECT_FALSE(ZentCore::GetNetworkTables(table4, table6, nullptr, nullptr, "GetExtendedTcpTable", 6, 6));
  EXPECT_TRUE(table4.empty());
  EXPECT_TRUE(table6.empty());
  EXPECT_EQ(LogMessages(log.Text()),
            (Strings{"GetNetworkTables: GetNetworkTables() - no APIs available to fetch network tables."}));
}

// --- the owner lookup --------------------------------------------------------------

struct OwnerCall {
  const void* row;
  int infoClass;
  bool withBuffer;
  DWORD sizeIn;
};
std::vector<OwnerCall> g_ownerCalls;
std::vector<Answer> g_ownerAnswers;

// Writes TCPIP_OWNER_MODULE_BASIC_INFO with both strings after it in the
// buffer, as the system does.
DWORD WINAPI FakeGetOwnerModule(const void* row, int infoClass, void* buffer, DWORD* size) {
  g_ownerCalls.push_back({row, infoClass, buffer != nullptr, *size});
  Answer a = g_ownerAnswers.front();
  g_ownerAnswers.erase(g_ownerAnswers.begin());
  if (a.result == ERROR_INSUFFICIENT_BUFFER) *size = a.reportedSize;
  if (a.result == NO_ERROR) {
    auto* names = static_cast<TCPIP_OWNER_MODULE_BASIC_INFO*>(buffer);
    auto* text = reinterpret_cast<wchar_t*>(names + 1);
    const wchar_t name[] = L"\u0141\u00F3d\u017A.exe";
    const wchar_t path[] = L"C:\\Mi\u0119dzy\\\u0141\u00F3d\u017A.exe";
    std::memcpy(text, name, sizeof name);
    std::memcpy(text + 16, path, sizeof path);
    names->pModuleName = text;
    names->pModulePath = text + 16;
  }
  return a.result;
}

class OwnerModule : public ::testing::Test {
 protected:
  void SetUp() override {
    g_ownerCalls.clear();
    g_ownerAnswers.clear();
  }
  uint8_t row[160] = {};
};

TEST_F(OwnerModule, NamesAreKeptByTheLowByteOfEachUnit) {
  g_ownerAnswers = {{NO_ERROR, 0}};
  ConnectionInfo info;
  ZentCore::GetOwnerModuleInfo(FakeGetOwnerModule, "GetOwnerModuleFromTcpEntry", row, info);
  EXPECT_EQ(info.process, std::string("\x41\xF3\x64\x7A.exe"));
  EXPECT_EQ(info.path, std::string("C:\\Mi\x19\x64zy\\\x41\xF3\x64\x7A.exe"));
  ASSERT_EQ(g_ownerCalls.size(), 1u);
  EXPECT_EQ(g_ownerCalls[0].row, row);
  EXPECT_EQ(g_ownerCalls[0].infoClass, 0);
  EXPECT_EQ(g_ownerCalls[0].sizeIn, 1040u);
}

TEST_F(OwnerModule, InsufficientBufferRetriesOnceWithTheReportedSize) {
  g_ownerAnswers = {{ERROR_INSUFFICIENT_BUFFER, 3000}, {NO_ERROR, 0}};
  ConnectionInfo info;
  ZentCore::GetOwnerModuleInfo(FakeGetOwnerModule, "GetOwnerModuleFromUdpEntry", row, info);
  ASSERT_EQ(g_ownerCalls.size(), 2u);
  EXPECT_EQ(g_ownerCalls[1].sizeIn, 3000u);
  EXPECT_EQ(info.process, std::string("\x41\xF3\x64\x7A.exe"));
}

TEST_F(OwnerModule, FailureIsLoggedWithTheFunctionsNameAndLeavesTheFieldsEmpty) {
  CapturedLog log(1);
  g_ownerAnswers = {{ERROR_INSUFFICIENT_BUFFER, 3000}, {ERROR_NOT_FOUND, 0}};
  ConnectionInfo info;
  info.processId = 12;
  ZentCore::GetOwnerModuleInfo(FakeGetOwnerModule, "GetOwnerModuleFromTcp6Entry", row, info);
  EXPECT_EQ(info.process, "");
  EXPECT_EQ(info.path, "");
  EXPECT_EQ(info.processId, 12);
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"GetOwnerModuleInfo: GetOwnerModuleFromTcp6Entry, err=1168"}));
}

TEST_F(OwnerModule, NoFunctionDoesNothing) {
  CapturedLog log(1);
  ConnectionInfo info;
  ZentCore::GetOwnerModuleInfo(nullptr, "GetOwnerModuleFromUdp6Entry", row, info);
  EXPECT_EQ(info.process, "");
  EXPECT_EQ(log.Text(), "");
}

// --- Wine's own iphlpapi ----------------------------------------------------------------

class WineIpHelper : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    WSADATA wsa;
    WSAStartup(MAKEWORD(2, 2), &wsa);
  }
  static void TearDownTestSuite() { WSACleanup(); }

  // A socket of this process bound to loopback on a port the system picks,
  // listening for TCP; returns the port. Wine tells a socket's owner only
  // once its process has used the socket: TCP_NODELAY, or one recv.
  static uint16_t Hold(SOCKET& s, int family, int type) {
    s = socket(family, type, 0);
    sockaddr_storage address{};
    int length;
    if (family == AF_INET) {
      auto* a = reinterpret_cast<sockaddr_in*>(&address);
      a->sin_family = AF_INET;
      a->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      length = sizeof(sockaddr_in);
    } else {
      auto* a = reinterpret_cast<sockaddr_in6*>(&address);
      a->sin6_family = AF_INET6;
      a->sin6_addr.s6_addr[15] = 1;
      length = sizeof(sockaddr_in6);
    }
    EXPECT_EQ(bind(s, reinterpret_cast<sockaddr*>(&address), length), 0);
    if (type == SOCK_STREAM) {
      EXPECT_EQ(listen(s, 1), 0);
      BOOL on = TRUE;
      setsockopt(s, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
    } else {
      // Wine names the owner of a UDP socket once the process has used it.
      u_long nonBlocking = 1;
      ioctlsocket(s, FIONBIO, &nonBlocking);
      char byte;
      recv(s, &byte, 1, 0);
    }
    EXPECT_EQ(getsockname(s, reinterpret_cast<sockaddr*>(&address), &length), 0);
    return ntohs(family == AF_INET ? reinterpret_cast<sockaddr_in*>(&address)->sin_port
                                   : reinterpret_cast<sockaddr_in6*>(&address)->sin6_port);
  }
};

TEST_F(WineIpHelper, HasTheExtendedTablesButNoOwnerModuleLookups) {
  const IpHelperEntries& ip = IpHelper();
  EXPECT_NE(ip.getExtendedTcpTable, nullptr);
  EXPECT_NE(ip.getExtendedUdpTable, nullptr);
  EXPECT_EQ(ip.getOwnerModuleFromTcpEntry, nullptr);
  EXPECT_EQ(ip.getOwnerModuleFromTcp6Entry, nullptr);
  EXPECT_EQ(ip.getOwnerModuleFromUdpEntry, nullptr);
  EXPECT_EQ(ip.getOwnerModuleFromUdp6Entry, nullptr);
}

TEST_F(WineIpHelper, Ipv4TcpOwnerRowsHaveThePidButNoCreationTime) {
  SOCKET s;
  uint16_t port = Hold(s, AF_INET, SOCK_STREAM);
  TableBlock t4, t6;
  ZentCore::GetNetworkTables(t4, t6, nullptr, IpHelper().getExtendedTcpTable, "GetExtendedTcpTable",
                             TCP_TABLE_OWNER_MODULE_LISTENER, TCP_TABLE_OWNER_MODULE_LISTENER);
  auto* table = reinterpret_cast<MIB_TCPTABLE_OWNER_MODULE*>(t4.data());
  int found = 0;
  for (DWORD i = 0; i < RowsInBlock(t4, RowLayout::TcpRowOwnerModule); ++i) {
    const MIB_TCPROW_OWNER_MODULE& row = table->table[i];
    if (ntohs(static_cast<u_short>(row.dwLocalPort)) != port) continue;
    ++found;
    EXPECT_EQ(row.dwOwningPid, GetCurrentProcessId());
    EXPECT_EQ(row.liCreateTimestamp.QuadPart, 0);
  }
  EXPECT_EQ(found, 1);
  closesocket(s);
}

TEST_F(WineIpHelper, Ipv6TcpListenersHaveNoOwner) {
  SOCKET s;
  uint16_t port = Hold(s, AF_INET6, SOCK_STREAM);
  TableBlock t4, t6;
  ZentCore::GetNetworkTables(t4, t6, nullptr, IpHelper().getExtendedTcpTable, "GetExtendedTcpTable",
                             TCP_TABLE_OWNER_MODULE_LISTENER, TCP_TABLE_OWNER_MODULE_LISTENER);
  auto* table = reinterpret_cast<MIB_TCP6TABLE_OWNER_MODULE*>(t6.data());
  int found = 0;
  for (DWORD i = 0; i < RowsInBlock(t6, RowLayout::Tcp6RowOwnerModule); ++i) {
    const MIB_TCP6ROW_OWNER_MODULE& row = table->table[i];
    if (ntohs(static_cast<u_short>(row.dwLocalPort)) != port) continue;
    ++found;
    EXPECT_EQ(row.dwOwningPid, 0u);
  }
  EXPECT_EQ(found, 1);
  closesocket(s);
}

tinyxml2::XMLElement* RunListenPorts(tinyxml2::XMLDocument& document, const std::string& arg1, const std::string& arg2) {
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  EXPECT_TRUE(GetHmdListenPorts(document, results, "lp", arg1, arg2));
  return results->FirstChildElement("HostMetaDataQueryResult");
}

// The attribute names of the object of that identifier, one list per object.
std::vector<Strings> AttributeNamesOf(tinyxml2::XMLElement* result, const std::string& identifier) {
  std::vector<Strings> found;
  for (tinyxml2::XMLElement* o = result->FirstChildElement("HostMetaDatas")->FirstChildElement(); o;
       o = o->NextSiblingElement()) {
    if (identifier != o->Attribute("identifier")) continue;
    Strings names;
    for (tinyxml2::XMLElement* a = o->FirstChildElement("Attributes")->FirstChildElement(); a;
         a = a->NextSiblingElement()) {
      names.push_back(a->Attribute("name"));
    }
    found.push_back(names);
  }
  return found;
}

TEST_F(WineIpHelper, HandlerReportsThisProcesssSocketsShortAndDetailed) {
  SOCKET tcp4, udp4;
  uint16_t tcpPort = Hold(tcp4, AF_INET, SOCK_STREAM);
  uint16_t udpPort = Hold(udp4, AF_INET, SOCK_DGRAM);
  const std::string tcpId = "tcp/127.0.0.1/" + std::to_string(tcpPort);
  const std::string udpId = "udp/127.0.0.1/" + std::to_string(udpPort);
  const Strings shortForm = {"protocol", "port", "localAddress", "ipVersion"};
  const Strings withPid = {"processId", "protocol", "port", "localAddress", "ipVersion"};
  {
    tinyxml2::XMLDocument document;
    tinyxml2::XMLElement* result = RunListenPorts(document, "", "");
    ASSERT_NE(result, nullptr);
    EXPECT_STREQ(result->Attribute("commandVersion"), "2");
    EXPECT_NE(result->Attribute("hash"), nullptr);
    EXPECT_EQ(AttributeNamesOf(result, tcpId), (std::vector<Strings>{shortForm}));
    EXPECT_EQ(AttributeNamesOf(result, udpId), (std::vector<Strings>{shortForm}));
  }
  {
    // "detailed" in either argument, exactly.
    tinyxml2::XMLDocument document;
    tinyxml2::XMLElement* result = RunListenPorts(document, "x", "detailed");
    EXPECT_EQ(AttributeNamesOf(result, tcpId), (std::vector<Strings>{withPid}));
    EXPECT_EQ(AttributeNamesOf(result, udpId), (std::vector<Strings>{withPid}));
  }
  {
    tinyxml2::XMLDocument document;
    tinyxml2::XMLElement* result = RunListenPorts(document, "Detailed", "");
    EXPECT_EQ(AttributeNamesOf(result, tcpId), (std::vector<Strings>{shortForm}));
  }
  closesocket(tcp4);
  closesocket(udp4);
}

TEST_F(WineIpHelper, ConnectionToHmdqrTakesItsTextFromGetnameinfo) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* datas = document.NewElement("HostMetaDatas");
  document.InsertEndChild(datas);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(5353);
  address.sin6_addr.s6_addr[15] = 1;
  ConnectionInfo info;
  info.processId = 7;
  ConnectionToHmdqr(reinterpret_cast<sockaddr*>(&address), sizeof address, "udp", "6", info, document, datas);
  tinyxml2::XMLPrinter printer(nullptr, true);
  datas->Accept(&printer);
  EXPECT_STREQ(printer.CStr(),
               "<HostMetaDatas><HostMetaData type=\"listenPort\" identifier=\"udp6/::1/5353\"><Attributes>"
               "<Attribute name=\"processId\" value=\"7\"/><Attribute name=\"protocol\" value=\"udp\"/>"
               "<Attribute name=\"port\" value=\"5353\"/><Attribute name=\"localAddress\" value=\"::1\"/>"
               "<Attribute name=\"ipVersion\" value=\"6\"/></Attributes></HostMetaData></HostMetaDatas>");
}

}  // namespace
