// The walkers over the IP helper table blocks, on blocks built by hand in
// each of the six layouts: what each row gives, which rows count, and that
// no walker reads past its block whatever the row count says (the blocks
// are exactly their bytes, so the sanitizers see any read past them).
#include "metadata/listen_port_rows.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "listen_port_test_support.h"

namespace {

using rows::Tcp;
using rows::Tcp6Owner;
using rows::TcpOwner;
using rows::Udp;
using rows::Udp6Owner;
using rows::UdpOwner;

struct OwnerCall {
  RowLayout layout;
  size_t offset;  // of the row in its block
};

// Records each owner lookup and names the owner after the row's offset.
struct RecordingOwners {
  const TableBlock* block4 = nullptr;
  const TableBlock* block6 = nullptr;
  std::vector<OwnerCall> calls;
  OwnerLookup Lookup() {
    return [this](RowLayout layout, const uint8_t* row, ConnectionInfo& info) {
      bool six = layout == RowLayout::Tcp6RowOwnerModule || layout == RowLayout::Udp6RowOwnerModule;
      const TableBlock& block = six ? *block6 : *block4;
      calls.push_back({layout, static_cast<size_t>(row - block.data())});
      info.process = "p" + std::to_string(row - block.data());
    };
  }
};

OwnerLookup NoOwners() {
  return [](RowLayout, const uint8_t*, ConnectionInfo&) { ADD_FAILURE() << "no owner lookup expected"; };
}

TEST(TcpTableWalk, ShortRowsKeepListenersWithAddressAndPortOnly) {
  TableBlock t4 = Block(RowLayout::TcpRow, {Tcp(2, {10, 1, 2, 3}, 0x1F90), Tcp(5, {10, 1, 2, 3}, 0x0050),
                                            Tcp(2, kAny4, 135)});
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  EXPECT_TRUE(WalkTcpTables(t4, {}, false, NoOwners(), c4, c6));
  ASSERT_EQ(c4.size(), 2u);
  EXPECT_EQ(std::vector<uint8_t>(c4[0].localAddress, c4[0].localAddress + 4), (std::vector<uint8_t>{10, 1, 2, 3}));
  EXPECT_EQ(c4[0].localPort, 0x1F90);
  EXPECT_EQ(c4[0].info.processId, 0);
  EXPECT_EQ(c4[0].info.created, 0);
  EXPECT_EQ(c4[1].localPort, 135);
  EXPECT_TRUE(c6.empty());
}

TEST(TcpTableWalk, RemoteEndIsTakenAsItStands) {
  RowBytes row = Tcp(2, kAny4, 80);
  row.Address(rowfield::kTcpRemoteAddr, {192, 168, 0, 9}).Port(rowfield::kTcpRemotePort, 0xABCD);
  TableBlock t4 = Block(RowLayout::TcpRow, {row});
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  WalkTcpTables(t4, {}, false, NoOwners(), c4, c6);
  ASSERT_EQ(c4.size(), 1u);
  EXPECT_EQ(std::vector<uint8_t>(c4[0].remoteAddress, c4[0].remoteAddress + 4),
            (std::vector<uint8_t>{192, 168, 0, 9}));
  EXPECT_EQ(c4[0].remotePort, 0xABCD);
}

TEST(TcpTableWalk, OwnerModuleRowsGiveProcessIdCreatedAndTheOwnerLookup) {
  TableBlock t4 = Block(RowLayout::TcpRowOwnerModule,
                        {TcpOwner(2, kAny4, 445, 4, 132000000000000001), TcpOwner(1, kAny4, 446, 5, 7)});
  RecordingOwners owners{&t4, nullptr, {}};
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  WalkTcpTables(t4, {}, true, owners.Lookup(), c4, c6);
  ASSERT_EQ(c4.size(), 1u);
  EXPECT_EQ(c4[0].info.processId, 4);
  EXPECT_EQ(c4[0].info.created, 132000000000000001);
  EXPECT_EQ(c4[0].info.process, "p8");
  ASSERT_EQ(owners.calls.size(), 1u);
  EXPECT_EQ(owners.calls[0].layout, RowLayout::TcpRowOwnerModule);
}

TEST(TcpTableWalk, Ipv6RowsAreNotFilteredByStateAndLeaveCreatedZero) {
  RowBytes closed = Tcp6Owner(kLoopback6, 8080, 99);
  closed.U32(48, 1);
  TableBlock t6 = Block(RowLayout::Tcp6RowOwnerModule, {Tcp6Owner(kAny6, 135, 0), closed});
  RecordingOwners owners{nullptr, &t6, {}};
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  EXPECT_TRUE(WalkTcpTables({}, t6, false, owners.Lookup(), c4, c6));
  ASSERT_EQ(c6.size(), 2u);
  EXPECT_EQ(c6[1].localAddress[15], 1);
  EXPECT_EQ(c6[1].localPort, 8080);
  EXPECT_EQ(c6[1].info.processId, 99);
  EXPECT_EQ(c6[1].info.created, 0);
  EXPECT_EQ(c6[1].info.process, "p200");
  ASSERT_EQ(owners.calls.size(), 2u);
  EXPECT_EQ(owners.calls[0].layout, RowLayout::Tcp6RowOwnerModule);
  EXPECT_EQ(owners.calls[0].offset, 8u);
}

TEST(TcpTableWalk, Ipv6RemoteEndIsTaken) {
  RowBytes row = Tcp6Owner(kAny6, 1, 0);
  row.Address(rowfield::kTcp6RemoteAddr, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2})
      .Port(rowfield::kTcp6RemotePort, 0x0102);
  TableBlock t6 = Block(RowLayout::Tcp6RowOwnerModule, {row});
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  WalkTcpTables({}, t6, false, [](RowLayout, const uint8_t*, ConnectionInfo&) {}, c4, c6);
  ASSERT_EQ(c6.size(), 1u);
  EXPECT_EQ(c6[0].remoteAddress[0], 0xFE);
  EXPECT_EQ(c6[0].remoteAddress[15], 2);
  EXPECT_EQ(c6[0].remotePort, 0x0102);
}

TEST(UdpTableWalk, ShortRowsAllCountWithRemoteZero) {
  TableBlock t4 = Block(RowLayout::UdpRow, {Udp(kAny4, 53), Udp(kLoopback4, 5353)});
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  EXPECT_TRUE(WalkUdpTables(t4, {}, false, NoOwners(), c4, c6));
  ASSERT_EQ(c4.size(), 2u);
  EXPECT_EQ(c4[1].localAddress[0], 127);
  EXPECT_EQ(c4[1].localPort, 5353);
  EXPECT_EQ(c4[1].remotePort, 0);
  EXPECT_EQ(c4[1].remoteAddress[0], 0);
}

TEST(UdpTableWalk, OwnerModuleRowsGiveProcessIdButNotCreated) {
  TableBlock t4 = Block(RowLayout::UdpRowOwnerModule, {UdpOwner(kAny4, 137, 1234)});
  RecordingOwners owners{&t4, nullptr, {}};
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  WalkUdpTables(t4, {}, true, owners.Lookup(), c4, c6);
  ASSERT_EQ(c4.size(), 1u);
  EXPECT_EQ(c4[0].info.processId, 1234);
  EXPECT_EQ(c4[0].info.created, 0);
  EXPECT_EQ(c4[0].info.process, "p8");
  ASSERT_EQ(owners.calls.size(), 1u);
  EXPECT_EQ(owners.calls[0].layout, RowLayout::UdpRowOwnerModule);
}

TEST(UdpTableWalk, Ipv6RowsGiveProcessIdAndTheOwnerLookup) {
  TableBlock t6 = Block(RowLayout::Udp6RowOwnerModule, {Udp6Owner(kAny6, 5353, 8), Udp6Owner(kLoopback6, 1, 9)});
  RecordingOwners owners{nullptr, &t6, {}};
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  EXPECT_TRUE(WalkUdpTables({}, t6, false, owners.Lookup(), c4, c6));
  ASSERT_EQ(c6.size(), 2u);
  EXPECT_EQ(c6[0].localPort, 5353);
  EXPECT_EQ(c6[0].info.processId, 8);
  EXPECT_EQ(c6[1].info.processId, 9);
  EXPECT_EQ(c6[1].info.created, 0);
  EXPECT_EQ(c6[1].info.process, "p184");
  EXPECT_EQ(owners.calls[1].layout, RowLayout::Udp6RowOwnerModule);
}

TEST(TableWalk, NoTablesGiveFalse) {
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  EXPECT_FALSE(WalkTcpTables({}, {}, true, NoOwners(), c4, c6));
  EXPECT_FALSE(WalkUdpTables({}, {}, true, NoOwners(), c4, c6));
}

TEST(TableWalk, ATableWithNoRowsStillCounts) {
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  EXPECT_TRUE(WalkUdpTables(Block(RowLayout::UdpRow, {}), {}, false, NoOwners(), c4, c6));
  EXPECT_TRUE(c4.empty());
}

TEST(TableWalk, CountBeyondTheBlockTakesTheWholeRowsItHolds) {
  TableBlock t4 = Block(RowLayout::TcpRow, {Tcp(2, kAny4, 1), Tcp(2, kAny4, 2)}, 0xFFFFFFFF);
  t4.resize(t4.size() - 1);  // the second row cut short by one byte
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  WalkTcpTables(t4, {}, false, NoOwners(), c4, c6);
  ASSERT_EQ(c4.size(), 1u);
  EXPECT_EQ(c4[0].localPort, 1);
}

TEST(TableWalk, EveryLayoutStopsAtItsBlocksEnd) {
  for (RowLayout layout : {RowLayout::TcpRow, RowLayout::TcpRowOwnerModule, RowLayout::Tcp6RowOwnerModule,
                           RowLayout::UdpRow, RowLayout::UdpRowOwnerModule, RowLayout::Udp6RowOwnerModule}) {
    RowShape shape = RowShapeOf(layout);
    TableBlock block = Block(layout, {RowBytes(shape.rowSize), RowBytes(shape.rowSize)}, 1000);
    EXPECT_EQ(RowsInBlock(block, layout), 2u);
    block.pop_back();
    EXPECT_EQ(RowsInBlock(block, layout), 1u);
  }
}

TEST(TableWalk, FewerRowsCountedThanHeldTakesTheCount) {
  TableBlock t4 = Block(RowLayout::UdpRow, {Udp(kAny4, 1), Udp(kAny4, 2), Udp(kAny4, 3)}, 2);
  EXPECT_EQ(RowsInBlock(t4, RowLayout::UdpRow), 2u);
}

TEST(TableWalk, BlocksTooShortForTheirCountOrFirstRowHoldNoRows) {
  EXPECT_EQ(RowsInBlock(TableBlock{5, 0, 0}, RowLayout::UdpRow), 0u);
  TableBlock sixBytes{1, 0, 0, 0, 0, 0};
  EXPECT_EQ(RowsInBlock(sixBytes, RowLayout::UdpRowOwnerModule), 0u);
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  EXPECT_TRUE(WalkUdpTables(sixBytes, sixBytes, true, NoOwners(), c4, c6));
  EXPECT_TRUE(c4.empty());
  EXPECT_TRUE(c6.empty());
}

TEST(RowShapes, OffsetsAndSizesOfTheSixLayouts) {
  std::vector<std::pair<size_t, size_t>> shapes;
  for (RowLayout layout : {RowLayout::TcpRow, RowLayout::TcpRowOwnerModule, RowLayout::Tcp6RowOwnerModule,
                           RowLayout::UdpRow, RowLayout::UdpRowOwnerModule, RowLayout::Udp6RowOwnerModule}) {
    shapes.emplace_back(RowShapeOf(layout).firstRow, RowShapeOf(layout).rowSize);
  }
  EXPECT_EQ(shapes, (std::vector<std::pair<size_t, size_t>>{{4, 20}, {8, 160}, {8, 192}, {4, 8}, {8, 160}, {8, 176}}));
}

}  // namespace
