// The order of the listening ports report: the record's leading bytes as
// memory holds them, then the owner's fields.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "metadata/connection.h"

namespace {

Connection4 V4(std::initializer_list<uint8_t> local, uint16_t port, std::initializer_list<uint8_t> remote = {0, 0, 0, 0}) {
  Connection4 c;
  std::memcpy(c.localAddress, local.begin(), 4);
  std::memcpy(c.remoteAddress, remote.begin(), 4);
  c.localPort = port;
  return c;
}

Connection6 V6(uint8_t last, uint16_t port) {
  Connection6 c;
  c.localAddress[15] = last;
  c.localPort = port;
  return c;
}

std::vector<uint16_t> Ports(const std::vector<Connection4>& list) {
  std::vector<uint16_t> ports;
  for (const Connection4& c : list) ports.push_back(c.localPort);
  return ports;
}

TEST(ListenPortOrder, PortsCompareLowByteFirst) {
  std::vector<Connection4> list = {V4({0, 0, 0, 0}, 0x0035), V4({0, 0, 0, 0}, 0x1234)};
  SortConnections(list);
  // 0x1234 is stored 34 12, 0x0035 is stored 35 00.
  EXPECT_EQ(Ports(list), (std::vector<uint16_t>{0x1234, 0x0035}));
}

TEST(ListenPortOrder, Ipv6PortsCompareLowByteFirst) {
  std::vector<Connection6> list = {V6(1, 0x0035), V6(1, 0x1234), V6(0, 0x0035)};
  SortConnections(list);
  ASSERT_EQ(list.size(), 3u);
  EXPECT_EQ(list[0].localAddress[15], 0);
  EXPECT_EQ(list[1].localPort, 0x1234);
  EXPECT_EQ(list[2].localPort, 0x0035);
}

TEST(ListenPortOrder, AddressesCompareAsStoredBytesNotAsNumbers) {
  // As a little-endian number 2.0.0.1 would be the smaller.
  std::vector<Connection4> list = {V4({2, 0, 0, 1}, 1), V4({1, 0, 0, 2}, 2)};
  SortConnections(list);
  EXPECT_EQ(Ports(list), (std::vector<uint16_t>{2, 1}));
}

TEST(ListenPortOrder, RemoteAddressComesBeforeLocalPort) {
  std::vector<Connection4> list = {V4({10, 0, 0, 1}, 1, {9, 9, 9, 9}), V4({10, 0, 0, 1}, 2, {1, 1, 1, 1})};
  SortConnections(list);
  EXPECT_EQ(Ports(list), (std::vector<uint16_t>{2, 1}));
}

TEST(ListenPortOrder, RemotePortComesAfterLocalPort) {
  Connection4 a = V4({10, 0, 0, 1}, 7);
  Connection4 b = a;
  a.remotePort = 0x0100;
  b.remotePort = 0x0001;
  EXPECT_TRUE(ConnectionLess(a, b));  // 00 01 before 01 00
  EXPECT_FALSE(ConnectionLess(b, a));
}

TEST(ListenPortOrder, TiesGoByCreatedThenProcessIdThenPathThenProcess) {
  Connection4 base = V4({0, 0, 0, 0}, 80);
  Connection4 created = base, pid = base, path = base, process = base;
  created.info.created = 1;
  created.info.processId = 1;
  pid.info.processId = 2;
  pid.info.path = "a";
  path.info.path = "b";
  process.info.process = "z";
  // created 0 before 1; then processId 0 before 2; then path "" before "b".
  std::vector<Connection4> list = {created, pid, path, process};
  SortConnections(list);
  EXPECT_EQ(list[0].info.process, "z");
  EXPECT_EQ(list[1].info.path, "b");
  EXPECT_EQ(list[2].info.processId, 2);
  EXPECT_EQ(list[3].info.created, 1);
}

TEST(ListenPortOrder, PathComparesBytewiseWithHighBytesLast) {
  Connection4 a = V4({0, 0, 0, 0}, 80), b = a;
  a.info.path = "\xF3";
  b.info.path = "z";
  EXPECT_TRUE(ConnectionLess(b, a));
}

TEST(ListenPortOrder, EqualRowsStayTwice) {
  std::vector<Connection4> list = {V4({0, 0, 0, 0}, 53), V4({0, 0, 0, 0}, 53)};
  SortConnections(list);
  EXPECT_EQ(Ports(list), (std::vector<uint16_t>{53, 53}));
}

}  // namespace
