// What the listening ports tests share: table blocks built by hand, row by
// row, in the layouts the IP helper calls fill; a getnameinfo of the tests'
// own over Windows sockaddr images; the printed objects of a result.
#pragma once

#include <tinyxml2.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "metadata/listen_port_objects.h"
#include "metadata/listen_port_rows.h"

// One row's bytes, fields put at their offsets, little-endian as Windows
// stores them.
struct RowBytes {
  std::vector<uint8_t> bytes;
  explicit RowBytes(size_t size) : bytes(size, 0) {}
  RowBytes& U32(size_t offset, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[offset + i] = static_cast<uint8_t>(value >> (8 * i));
    return *this;
  }
  RowBytes& I64(size_t offset, int64_t value) {
    auto u = static_cast<uint64_t>(value);
    for (int i = 0; i < 8; ++i) bytes[offset + i] = static_cast<uint8_t>(u >> (8 * i));
    return *this;
  }
  // A port field: network order in the field's first two bytes.
  RowBytes& Port(size_t offset, uint16_t port) {
    bytes[offset] = static_cast<uint8_t>(port >> 8);
    bytes[offset + 1] = static_cast<uint8_t>(port);
    return *this;
  }
  RowBytes& Address(size_t offset, std::initializer_list<uint8_t> address) {
    std::memcpy(bytes.data() + offset, address.begin(), address.size());
    return *this;
  }
};

// A table block: the row count, padding up to the first row, the rows.
inline TableBlock Block(RowLayout layout, const std::vector<RowBytes>& rows, uint32_t count) {
  RowShape shape = RowShapeOf(layout);
  TableBlock block(shape.firstRow, 0);
  for (int i = 0; i < 4; ++i) block[i] = static_cast<uint8_t>(count >> (8 * i));
  for (const RowBytes& row : rows) block.insert(block.end(), row.bytes.begin(), row.bytes.end());
  return block;
}
inline TableBlock Block(RowLayout layout, const std::vector<RowBytes>& rows) {
  return Block(layout, rows, static_cast<uint32_t>(rows.size()));
}

namespace rows {
using namespace rowfield;
inline RowBytes Tcp(uint32_t state, std::initializer_list<uint8_t> local, uint16_t port) {
  return std::move(RowBytes(20).U32(kTcpState, state).Address(kTcpLocalAddr, local).Port(kTcpLocalPort, port));
}
inline RowBytes TcpOwner(uint32_t state, std::initializer_list<uint8_t> local, uint16_t port, uint32_t pid,
                         int64_t created) {
  return std::move(RowBytes(160)
                       .U32(kTcpState, state)
                       .Address(kTcpLocalAddr, local)
                       .Port(kTcpLocalPort, port)
                       .U32(kTcpOwningPid, pid)
                       .I64(kTcpCreateTimestamp, created));
}
// The row's own time, at 56, is there to show it is not taken.
inline RowBytes Tcp6Owner(std::initializer_list<uint8_t> local, uint16_t port, uint32_t pid) {
  return std::move(RowBytes(192)
                       .Address(kTcp6LocalAddr, local)
                       .Port(kTcp6LocalPort, port)
                       .U32(48, 2)
                       .U32(kTcp6OwningPid, pid)
                       .I64(56, 133000000000000000));
}
inline RowBytes Udp(std::initializer_list<uint8_t> local, uint16_t port) {
  return std::move(RowBytes(8).Address(kUdpLocalAddr, local).Port(kUdpLocalPort, port));
}
// The row's time, at 16, is not taken either.
inline RowBytes UdpOwner(std::initializer_list<uint8_t> local, uint16_t port, uint32_t pid) {
  return std::move(RowBytes(160)
                       .Address(kUdpLocalAddr, local)
                       .Port(kUdpLocalPort, port)
                       .U32(kUdpOwningPid, pid)
                       .I64(16, 133000000000000000));
}
inline RowBytes Udp6Owner(std::initializer_list<uint8_t> local, uint16_t port, uint32_t pid) {
  return std::move(RowBytes(176)
                       .Address(kUdp6LocalAddr, local)
                       .Port(kUdp6LocalPort, port)
                       .U32(kUdp6OwningPid, pid)
                       .I64(32, 133000000000000000));
}
}  // namespace rows

inline const std::initializer_list<uint8_t> kAny4 = {0, 0, 0, 0};
inline const std::initializer_list<uint8_t> kLoopback4 = {127, 0, 0, 1};
inline const std::initializer_list<uint8_t> kAny6 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
inline const std::initializer_list<uint8_t> kLoopback6 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

// getnameinfo's numeric answer, for the images of family 2 and 23 the agent
// builds: dotted IPv4; IPv6 in hex groups with the longest run of two or
// more zero groups written "::". Any other family fails with 10047
// (WSAEAFNOSUPPORT), as the system's does.
inline bool TestNameInfo(const uint8_t* sockaddr, int length, std::string& host, std::string& service,
                         uint32_t& error) {
  uint16_t family = static_cast<uint16_t>(sockaddr[0] | sockaddr[1] << 8);
  service = std::to_string(sockaddr[2] << 8 | sockaddr[3]);
  host.clear();
  if (family == 2 && length == 16) {
    for (int i = 0; i < 4; ++i) host += (i ? "." : "") + std::to_string(sockaddr[4 + i]);
    return true;
  }
  if (family == 23 && length == 28) {
    uint16_t groups[8];
    for (int i = 0; i < 8; ++i) groups[i] = static_cast<uint16_t>(sockaddr[8 + 2 * i] << 8 | sockaddr[9 + 2 * i]);
    int bestStart = -1, bestLength = 1;
    for (int i = 0; i < 8;) {
      int j = i;
      while (j < 8 && groups[j] == 0) ++j;
      if (j - i > bestLength) { bestStart = i; bestLength = j - i; }
      i = j == i ? i + 1 : j;
    }
    char text[8];
    for (int i = 0; i < 8; ++i) {
      if (i == bestStart) {
        host += "::";
        i += bestLength - 1;
        continue;
      }
      if (!host.empty() && host.back() != ':') host += ":";
      std::snprintf(text, sizeof text, "%x", groups[i]);
      host += text;
    }
    return true;
  }
  error = 10047;
  return false;
}

// The objects of a result as tinyxml2 prints them, one per line.
inline std::vector<std::string> PrintedObjects(tinyxml2::XMLElement* hostMetaDatas) {
  std::vector<std::string> objects;
  for (tinyxml2::XMLElement* o = hostMetaDatas->FirstChildElement(); o != nullptr; o = o->NextSiblingElement()) {
    tinyxml2::XMLPrinter printer(nullptr, true);
    o->Accept(&printer);
    objects.push_back(printer.CStr());
  }
  return objects;
}
