#include "metadata/listen_port_rows.h"

#include <cstring>

namespace {

uint32_t Read32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}

int64_t Read64(const uint8_t* p) {
  return static_cast<int64_t>(static_cast<uint64_t>(Read32(p)) | static_cast<uint64_t>(Read32(p + 4)) << 32);
}

// ntohs of the port field: the table keeps the port in network order in the
// field's first two bytes.
uint16_t PortOf(const uint8_t* field) { return static_cast<uint16_t>(field[0] << 8 | field[1]); }

template <class Visit>
void ForEachRow(const TableBlock& block, RowLayout layout, Visit visit) {
  RowShape shape = RowShapeOf(layout);
  size_t rows = RowsInBlock(block, layout);
  for (size_t i = 0; i < rows; ++i) visit(block.data() + shape.firstRow + i * shape.rowSize);
}

void WalkTcp4(const TableBlock& block, bool ownerModuleRows, const OwnerLookup& ownerLookup,
              std::vector<Connection4>& connections) {
  using namespace rowfield;
  RowLayout layout = ownerModuleRows ? RowLayout::TcpRowOwnerModule : RowLayout::TcpRow;
  ForEachRow(block, layout, [&](const uint8_t* row) {
    if (Read32(row + kTcpState) != kTcpStateListen) return;
    Connection4 c;
    std::memcpy(c.localAddress, row + kTcpLocalAddr, 4);
    std::memcpy(c.remoteAddress, row + kTcpRemoteAddr, 4);
    c.localPort = PortOf(row + kTcpLocalPort);
    c.remotePort = PortOf(row + kTcpRemotePort);
    if (ownerModuleRows) {
      c.info.processId = Read32(row + kTcpOwningPid);
      c.info.created = Read64(row + kTcpCreateTimestamp);
      ownerLookup(layout, row, c.info);
    }
    connections.push_back(std::move(c));
  });
}

// The class asked for listeners, so IPv6 rows are not filtered by state; the
// row's time is not taken.
void WalkTcp6(const TableBlock& block, const OwnerLookup& ownerLookup, std::vector<Connection6>& connections) {
  using namespace rowfield;
  ForEachRow(block, RowLayout::Tcp6RowOwnerModule, [&](const uint8_t* row) {
    Connection6 c;
    std::memcpy(c.localAddress, row + kTcp6LocalAddr, 16);
    std::memcpy(c.remoteAddress, row + kTcp6RemoteAddr, 16);
    c.localPort = PortOf(row + kTcp6LocalPort);
    c.remotePort = PortOf(row + kTcp6RemotePort);
    c.info.processId = Read32(row + kTcp6OwningPid);
    ownerLookup(RowLayout::Tcp6RowOwnerModule, row, c.info);
    connections.push_back(std::move(c));
  });
}

void WalkUdp4(const TableBlock& block, bool ownerModuleRows, const OwnerLookup& ownerLookup,
              std::vector<Connection4>& connections) {
  using namespace rowfield;
  RowLayout layout = ownerModuleRows ? RowLayout::UdpRowOwnerModule : RowLayout::UdpRow;
  ForEachRow(block, layout, [&](const uint8_t* row) {
    Connection4 c;
    std::memcpy(c.localAddress, row + kUdpLocalAddr, 4);
    c.localPort = PortOf(row + kUdpLocalPort);
    if (ownerModuleRows) {
      c.info.processId = Read32(row + kUdpOwningPid);
      ownerLookup(layout, row, c.info);
    }
    connections.push_back(std::move(c));
  });
}

void WalkUdp6(const TableBlock& block, const OwnerLookup& ownerLookup, std::vector<Connection6>& connections) {
  using namespace rowfield;
  ForEachRow(block, RowLayout::Udp6RowOwnerModule, [&](const uint8_t* row) {
    Connection6 c;
    std::memcpy(c.localAddress, row + kUdp6LocalAddr, 16);
    c.localPort = PortOf(row + kUdp6LocalPort);
    c.info.processId = Read32(row + kUdp6OwningPid);
    ownerLookup(RowLayout::Udp6RowOwnerModule, row, c.info);
    connections.push_back(std::move(c));
  });
}

}  // namespace

RowShape RowShapeOf(RowLayout layout) {
  switch (layout) {
    case RowLayout::TcpRow: return {4, 20};
    case RowLayout::TcpRowOwnerModule: return {8, 160};
    case RowLayout::Tcp6RowOwnerModule: return {8, 192};
    case RowLayout::UdpRow: return {4, 8};
    case RowLayout::UdpRowOwnerModule: return {8, 160};
    case RowLayout::Udp6RowOwnerModule: return {8, 176};
  }
  return {4, 8};
}

size_t RowsInBlock(const TableBlock& block, RowLayout layout) {
  RowShape shape = RowShapeOf(layout);
  if (block.size() < 4) return 0;
  size_t counted = Read32(block.data());
  size_t held = block.size() < shape.firstRow ? 0 : (block.size() - shape.firstRow) / shape.rowSize;
  return counted < held ? counted : held;
}

bool WalkTcpTables(const TableBlock& table4, const TableBlock& table6, bool ownerModuleRows,
                   const OwnerLookup& ownerLookup, std::vector<Connection4>& connections4,
                   std::vector<Connection6>& connections6) {
  WalkTcp4(table4, ownerModuleRows, ownerLookup, connections4);
  WalkTcp6(table6, ownerLookup, connections6);
  return !(table4.empty() && table6.empty());
}

bool WalkUdpTables(const TableBlock& table4, const TableBlock& table6, bool ownerModuleRows,
                   const OwnerLookup& ownerLookup, std::vector<Connection4>& connections4,
                   std::vector<Connection6>& connections6) {
  WalkUdp4(table4, ownerModuleRows, ownerLookup, connections4);
  WalkUdp6(table6, ownerLookup, connections6);
  return !(table4.empty() && table6.empty());
}
