// The listening ports tables over any bytes: the six row layouts walked, each
// list sorted, made into objects and digested. No block may make a walker
// read past it, whatever its row count says (each block is a buffer of its
// own exact size, so the sanitizers see any read beyond), and the objects
// come in the report's order.
//
// Input: a control byte (bit 0: IPv4 TCP rows with owner modules, bit 1:
// IPv4 UDP rows with owner modules, bit 2: getnameinfo fails on sockets
// whose first address byte is odd); then four blocks, TCP IPv4, TCP IPv6,
// UDP IPv4, UDP IPv6, each a 16-bit little-endian length cut to what is left,
// then its bytes.
#include <tinyxml2.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "metadata/compute_hash.h"
#include "metadata/listen_port_objects.h"
#include "metadata/listen_port_rows.h"
#include "metadata/result_shell.h"
#include "records/settings.h"

namespace {

bool g_failOddAddresses = false;

// Stands for getnameinfo: the address bytes in hex, the port in decimal.
bool HexNameInfo(const uint8_t* sockaddr, int length, std::string& host, std::string& service, uint32_t& error) {
  const size_t at = length == kSockaddrInLength ? 4 : 8;
  const size_t count = length == kSockaddrInLength ? 4 : 16;
  if (g_failOddAddresses && (sockaddr[at] & 1) != 0) {
    error = 10022;
    return false;
  }
  static const char digits[] = "0123456789abcdef";
  host.clear();
  for (size_t i = 0; i < count; ++i) {
    host += digits[sockaddr[at + i] >> 4];
    host += digits[sockaddr[at + i] & 15];
  }
  service = std::to_string(sockaddr[2] << 8 | sockaddr[3]);
  return true;
}

// The owner's names from the row's module bytes, as UTF-16 units up to the
// first zero or the row's end, so that the narrowing sees any unit.
void RowOwner(RowLayout layout, const uint8_t* row, ConnectionInfo& info) {
  const RowShape shape = RowShapeOf(layout);
  std::u16string name;
  for (size_t i = shape.rowSize - 128; i + 1 < shape.rowSize; i += 2) {
    char16_t unit = static_cast<char16_t>(row[i] | row[i + 1] << 8);
    if (unit == 0) break;
    name += unit;
  }
  TakeOwnerModuleNames(name.c_str(), name.c_str(), info);
}

TableBlock TakeBlock(const uint8_t*& input, size_t& size) {
  if (size < 2) {
    size = 0;
    return {};
  }
  size_t length = std::min<size_t>(input[0] | input[1] << 8, size - 2);
  TableBlock block(input + 2, input + 2 + length);
  input += 2 + length;
  size -= 2 + length;
  return block;
}

template <class Connection>
void CheckOrder(std::vector<Connection> list) {
  SortConnections(list);
  for (size_t i = 1; i < list.size(); ++i) {
    if (ConnectionLess(list[i], list[i - 1])) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size) {
  // The failure lines are formatted, and dropped without a log file.
  s_Settings.DebugLevel = 1;
  s_Settings.DbgviewLog = false;
  if (size == 0) return 0;
  const uint8_t control = input[0];
  ++input;
  --size;
  g_failOddAddresses = (control & 4) != 0;
  TableBlock tcp4 = TakeBlock(input, size), tcp6 = TakeBlock(input, size);
  TableBlock udp4 = TakeBlock(input, size), udp6 = TakeBlock(input, size);

  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  HmdResultShell shell = AddResultShell(document, results, "2", "fuzz");
  // The walkers alone first, for what the objects must then show.
  std::vector<Connection4> c4;
  std::vector<Connection6> c6;
  WalkTcpTables(tcp4, tcp6, (control & 1) != 0, RowOwner, c4, c6);
  CheckOrder(c4);
  CheckOrder(c6);
  size_t rows = c4.size() + c6.size();
  c4.clear();
  c6.clear();
  WalkUdpTables(udp4, udp6, (control & 2) != 0, RowOwner, c4, c6);
  // Every UDP row counts.
  if (c4.size() != RowsInBlock(udp4, (control & 2) != 0 ? RowLayout::UdpRowOwnerModule : RowLayout::UdpRow) ||
      c6.size() != RowsInBlock(udp6, RowLayout::Udp6RowOwnerModule)) {
    std::abort();
  }
  rows += c4.size() + c6.size();

  ReportListenPortTables("tcp", tcp4, tcp6, (control & 1) != 0, RowOwner, document, shell.hostMetaDatas, HexNameInfo);
  ReportListenPortTables("udp", udp4, udp6, (control & 2) != 0, RowOwner, document, shell.hostMetaDatas, HexNameInfo);
  ComputeHash(shell.result);
  size_t objects = 0;
  for (tinyxml2::XMLElement* o = shell.hostMetaDatas->FirstChildElement(); o; o = o->NextSiblingElement()) ++objects;
  if (objects > rows || (!g_failOddAddresses && objects != rows) || shell.result->Attribute("hash") == nullptr) {
    std::abort();
  }
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return 0;
}
