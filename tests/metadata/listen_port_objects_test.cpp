// The listenPort objects: attributes and their order, the identifier, the
// sockaddr images handed to getnameinfo, the report's order, and the owner
// names kept by the low byte. Expected objects are written from the rules.
#include "metadata/listen_port_objects.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <string>
#include <vector>

#include "listen_port_test_support.h"
#include "metadata/compute_hash.h"
#include "metadata/result_shell.h"
#include "util/captured_log.h"

namespace {

using Strings = std::vector<std::string>;

class ListenPortObjects : public ::testing::Test {
 protected:
  void SetUp() override {
    results = document.NewElement("HostMetaDataQueryResults");
    document.InsertEndChild(results);
    shell = AddResultShell(document, results, "2", "p");
  }
  void Add4(const Connection4& c, const char* protocol) {
    std::vector<uint8_t> image = LocalSockaddr(c);
    ConnectionToHmdqr(image.data(), kSockaddrInLength, protocol, "4", c.info, document, shell.hostMetaDatas,
                      TestNameInfo);
  }
  void Add6(const Connection6& c, const char* protocol) {
    std::vector<uint8_t> image = LocalSockaddr(c);
    ConnectionToHmdqr(image.data(), kSockaddrIn6Length, protocol, "6", c.info, document, shell.hostMetaDatas,
                      TestNameInfo);
  }
  Strings Objects() { return PrintedObjects(shell.hostMetaDatas); }

  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = nullptr;
  HmdResultShell shell{};
};

Connection4 V4(std::initializer_list<uint8_t> local, uint16_t port) {
  Connection4 c;
  std::memcpy(c.localAddress, local.begin(), 4);
  c.localPort = port;
  return c;
}

Connection6 V6(std::initializer_list<uint8_t> local, uint16_t port) {
  Connection6 c;
  std::memcpy(c.localAddress, local.begin(), 16);
  c.localPort = port;
  return c;
}

TEST_F(ListenPortObjects, ShortIpv4ObjectHasFourAttributes) {
  Add4(V4(kAny4, 135), "tcp");
  EXPECT_EQ(Objects(), (Strings{
      "<HostMetaData type=\"listenPort\" identifier=\"tcp/0.0.0.0/135\"><Attributes>"
      "<Attribute name=\"protocol\" value=\"tcp\"/><Attribute name=\"port\" value=\"135\"/>"
      "<Attribute name=\"localAddress\" value=\"0.0.0.0\"/><Attribute name=\"ipVersion\" value=\"4\"/>"
      "</Attributes></HostMetaData>"}));
}

TEST_F(ListenPortObjects, Ipv6IdentifierCarriesTheVersion) {
  Add6(V6(kAny6, 5353), "udp");
  EXPECT_EQ(Objects(), (Strings{
      "<HostMetaData type=\"listenPort\" identifier=\"udp6/::/5353\"><Attributes>"
      "<Attribute name=\"protocol\" value=\"udp\"/><Attribute name=\"port\" value=\"5353\"/>"
      "<Attribute name=\"localAddress\" value=\"::\"/><Attribute name=\"ipVersion\" value=\"6\"/>"
      "</Attributes></HostMetaData>"}));
}

TEST_F(ListenPortObjects, EveryKnownFieldInTheServersOrder) {
  Connection4 c = V4({10, 0, 0, 7}, 8443);
  c.info = {132000000000000001, "C:\\Program Files\\Web\\web.exe", "web.exe", 4242};
  Add4(c, "tcp");
  EXPECT_EQ(Objects(), (Strings{
      "<HostMetaData type=\"listenPort\" identifier=\"tcp/10.0.0.7/8443\"><Attributes>"
      "<Attribute name=\"processId\" value=\"4242\"/><Attribute name=\"process\" value=\"web.exe\"/>"
      "<Attribute name=\"path\" value=\"C:\\Program Files\\Web\\web.exe\"/>"
      "<Attribute name=\"protocol\" value=\"tcp\"/><Attribute name=\"port\" value=\"8443\"/>"
      "<Attribute name=\"localAddress\" value=\"10.0.0.7\"/><Attribute name=\"ipVersion\" value=\"4\"/>"
      "<Attribute name=\"created\" value=\"132000000000000001\"/>"
      "</Attributes></HostMetaData>"}));
}

TEST_F(ListenPortObjects, ProcessIdZeroIsLeftOut) {
  Connection6 c = V6(kLoopback6, 7);
  c.info.processId = 0;
  c.info.process = "System";
  Add6(c, "tcp");
  EXPECT_EQ(Objects(), (Strings{
      "<HostMetaData type=\"listenPort\" identifier=\"tcp6/::1/7\"><Attributes>"
      "<Attribute name=\"process\" value=\"System\"/>"
      "<Attribute name=\"protocol\" value=\"tcp\"/><Attribute name=\"port\" value=\"7\"/>"
      "<Attribute name=\"localAddress\" value=\"::1\"/><Attribute name=\"ipVersion\" value=\"6\"/>"
      "</Attributes></HostMetaData>"}));
}

TEST_F(ListenPortObjects, PathWithoutProcessNameStandsAlone) {
  Connection4 c = V4(kLoopback4, 1);
  c.info.path = "C:\\a.exe";
  c.info.processId = 1;
  Add4(c, "udp");
  EXPECT_EQ(Objects(), (Strings{
      "<HostMetaData type=\"listenPort\" identifier=\"udp/127.0.0.1/1\"><Attributes>"
      "<Attribute name=\"processId\" value=\"1\"/><Attribute name=\"path\" value=\"C:\\a.exe\"/>"
      "<Attribute name=\"protocol\" value=\"udp\"/><Attribute name=\"port\" value=\"1\"/>"
      "<Attribute name=\"localAddress\" value=\"127.0.0.1\"/><Attribute name=\"ipVersion\" value=\"4\"/>"
      "</Attributes></HostMetaData>"}));
}

TEST_F(ListenPortObjects, GetnameinfoFailureLeavesTheSocketOutAndLogs) {
  CapturedLog log(1);
  uint8_t image[16] = {9, 0};  // a family the call does not know
  ConnectionToHmdqr(image, 16, "tcp", "4", ConnectionInfo{}, document, shell.hostMetaDatas, TestNameInfo);
  Add4(V4(kAny4, 80), "tcp");
  EXPECT_EQ(Objects().size(), 1u);
  EXPECT_EQ(LogMessages(log.Text()), (Strings{"ConnectionToHmdqr: Error on getnameinfo, err=10047"}));
}

TEST(ListenPortIdentifier, AddressAndPortAreCutAt128And32) {
  std::string address(130, 'a');
  std::string port(40, '9');
  EXPECT_EQ(ListenPortIdentifier("udp", "6", address, port), "udp6/" + std::string(128, 'a') + "/" + std::string(32, '9'));
  EXPECT_EQ(ListenPortIdentifier("tcp", "4", "0.0.0.0", "135"), "tcp/0.0.0.0/135");
}

TEST(LocalSockaddr, Ipv4ImageIsWindowsSockaddrIn) {
  Connection4 c = V4({192, 168, 1, 2}, 0x1234);
  c.remotePort = 9;
  EXPECT_EQ(LocalSockaddr(c), (std::vector<uint8_t>{2, 0, 0x12, 0x34, 192, 168, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(LocalSockaddr, Ipv6ImageIsWindowsSockaddrIn6WithFlowAndScopeZero) {
  Connection6 c = V6(kLoopback6, 0x0035);
  EXPECT_EQ(LocalSockaddr(c), (std::vector<uint8_t>{23, 0, 0x00, 0x35, 0, 0, 0, 0,
                                                    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1,
                                                    0, 0, 0, 0}));
}

TEST_F(ListenPortObjects, ReportSortsEachListAndPutsIpv4First) {
  std::vector<Connection4> c4 = {V4(kAny4, 0x0035), V4(kAny4, 0x1234), V4(kAny4, 0x0035)};
  std::vector<Connection6> c6 = {V6(kLoopback6, 2), V6(kAny6, 3)};
  ReportListenPorts("tcp", c4, c6, document, shell.hostMetaDatas, TestNameInfo);
  Strings identifiers;
  for (tinyxml2::XMLElement* o = shell.hostMetaDatas->FirstChildElement(); o; o = o->NextSiblingElement()) {
    identifiers.push_back(o->Attribute("identifier"));
  }
  // Equal rows stay, each reported.
  EXPECT_EQ(identifiers, (Strings{"tcp/0.0.0.0/4660", "tcp/0.0.0.0/53", "tcp/0.0.0.0/53", "tcp6/::/3",
                                  "tcp6/::1/2"}));
}

TEST_F(ListenPortObjects, TablesOfOneProtocolAreWalkedAndReported) {
  using namespace rows;
  TableBlock t4 = Block(RowLayout::TcpRowOwnerModule, {TcpOwner(2, kAny4, 445, 4, 9), TcpOwner(3, kAny4, 80, 5, 0)});
  TableBlock t6 = Block(RowLayout::Tcp6RowOwnerModule, {Tcp6Owner(kAny6, 135, 0)});
  OwnerLookup owner = [](RowLayout, const uint8_t*, ConnectionInfo& info) { info.process = "svc.exe"; };
  ReportListenPortTables("tcp", t4, t6, true, owner, document, shell.hostMetaDatas, TestNameInfo);
  TableBlock u4 = Block(RowLayout::UdpRow, {Udp(kLoopback4, 53)});
  ReportListenPortTables("udp", u4, {}, false, owner, document, shell.hostMetaDatas, TestNameInfo);
  EXPECT_EQ(Objects(), (Strings{
      "<HostMetaData type=\"listenPort\" identifier=\"tcp/0.0.0.0/445\"><Attributes>"
      "<Attribute name=\"processId\" value=\"4\"/><Attribute name=\"process\" value=\"svc.exe\"/>"
      "<Attribute name=\"protocol\" value=\"tcp\"/><Attribute name=\"port\" value=\"445\"/>"
      "<Attribute name=\"localAddress\" value=\"0.0.0.0\"/><Attribute name=\"ipVersion\" value=\"4\"/>"
      "<Attribute name=\"created\" value=\"9\"/></Attributes></HostMetaData>",
      "<HostMetaData type=\"listenPort\" identifier=\"tcp6/::/135\"><Attributes>"
      "<Attribute name=\"process\" value=\"svc.exe\"/>"
      "<Attribute name=\"protocol\" value=\"tcp\"/><Attribute name=\"port\" value=\"135\"/>"
      "<Attribute name=\"localAddress\" value=\"::\"/><Attribute name=\"ipVersion\" value=\"6\"/>"
      "</Attributes></HostMetaData>",
      "<HostMetaData type=\"listenPort\" identifier=\"udp/127.0.0.1/53\"><Attributes>"
      "<Attribute name=\"protocol\" value=\"udp\"/><Attribute name=\"port\" value=\"53\"/>"
      "<Attribute name=\"localAddress\" value=\"127.0.0.1\"/><Attribute name=\"ipVersion\" value=\"4\"/>"
      "</Attributes></HostMetaData>"}));
}

TEST_F(ListenPortObjects, NoTablesReportNothing) {
  ReportListenPortTables("tcp", {}, {}, true, nullptr, document, shell.hostMetaDatas, TestNameInfo);
  EXPECT_TRUE(Objects().empty());
}

TEST_F(ListenPortObjects, HashCoversTypeIdentifierAndAttributes) {
  Add4(V4(kAny4, 135), "tcp");
  ComputeHash(shell.result);
  // SHA-1 of "listenPorttcp/0.0.0.0/135protocoltcpport135localAddress0.0.0.0ipVersion4",
  // computed apart with sha1sum.
  EXPECT_STREQ(shell.result->Attribute("hash"), "8D:29:26:39:82:90:CB:F8:53:B4:97:37:33:7A:FA:DB:67:30:4C:79");
}

TEST(OwnerModuleNames, KeepTheLowByteOfEachUnit) {
  ConnectionInfo info;
  TakeOwnerModuleNames(u"\u0141\u00F3d\u017A.exe", u"C:\\\u0141\u00F3d\u017A.exe", info);
  EXPECT_EQ(info.process, std::string("\x41\xF3\x64\x7A.exe"));
  EXPECT_EQ(info.path, std::string("C:\\\x41\xF3\x64\x7A.exe"));
}

TEST(OwnerModuleNames, NullPointersReadAsEmpty) {
  ConnectionInfo info;
  info.process = "old";
  TakeOwnerModuleNames(nullptr, nullptr, info);
  EXPECT_EQ(info.process, "");
  EXPECT_EQ(info.path, "");
}

}  // namespace
