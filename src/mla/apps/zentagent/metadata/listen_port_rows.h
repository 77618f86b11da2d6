// The IP helper tables of the listening ports query, walked as the bytes the
// table calls filled. Each block starts with a 32-bit row count; a walker
// takes no more rows than the block holds, whatever that count says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "metadata/connection.h"

// A table as a call filled it, the whole block; empty when no table came.
using TableBlock = std::vector<uint8_t>;

// The six row layouts: where the rows start in the block, and their size.
enum class RowLayout { TcpRow, TcpRowOwnerModule, Tcp6RowOwnerModule, UdpRow, UdpRowOwnerModule, Udp6RowOwnerModule };

struct RowShape {
  size_t firstRow;  // bytes before the first row: the count, and padding to 8 for 64-bit fields
  size_t rowSize;
};
RowShape RowShapeOf(RowLayout layout);

// Field offsets inside the rows (MIB_TCPROW, MIB_TCPROW_OWNER_MODULE,
// MIB_TCP6ROW_OWNER_MODULE, MIB_UDPROW, MIB_UDPROW_OWNER_MODULE,
// MIB_UDP6ROW_OWNER_MODULE), checked against the Windows headers by the
// Windows build.
namespace rowfield {
constexpr size_t kTcpState = 0, kTcpLocalAddr = 4, kTcpLocalPort = 8, kTcpRemoteAddr = 12, kTcpRemotePort = 16;
constexpr size_t kTcpOwningPid = 20, kTcpCreateTimestamp = 24;
constexpr size_t kTcp6LocalAddr = 0, kTcp6LocalPort = 20, kTcp6RemoteAddr = 24, kTcp6RemotePort = 44,
                 kTcp6OwningPid = 52;
constexpr size_t kUdpLocalAddr = 0, kUdpLocalPort = 4, kUdpOwningPid = 8;
constexpr size_t kUdp6LocalAddr = 0, kUdp6LocalPort = 20, kUdp6OwningPid = 24;
}  // namespace rowfield

// The TCP state of a listener; IPv4 TCP rows in any other state are skipped,
// which also filters the full table of the older call.
constexpr uint32_t kTcpStateListen = 2;

// Asks who owns the socket of one row (the row as it stands in its block)
// and fills process and path.
using OwnerLookup = std::function<void(RowLayout layout, const uint8_t* row, ConnectionInfo& info)>;

// The number of whole rows of the layout in the block: the row count, cut to
// what the block's size holds.
size_t RowsInBlock(const TableBlock& block, RowLayout layout);

// The TCP tables. IPv4 rows are MIB_TCPROW_OWNER_MODULE when ownerModuleRows
// (the extended call with a detailed query), MIB_TCPROW otherwise; only
// listeners count. Owner module rows give processId and created; IPv6 rows
// give processId only, created staying 0. False only when both blocks are
// empty.
bool WalkTcpTables(const TableBlock& table4, const TableBlock& table6, bool ownerModuleRows,
                   const OwnerLookup& ownerLookup, std::vector<Connection4>& connections4,
                   std::vector<Connection6>& connections6);

// The UDP tables: every row counts, remote address and port are 0, created
// stays 0; owner module rows give processId.
bool WalkUdpTables(const TableBlock& table4, const TableBlock& table6, bool ownerModuleRows,
                   const OwnerLookup& ownerLookup, std::vector<Connection4>& connections4,
                   std::vector<Connection6>& connections6);
