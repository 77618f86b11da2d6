// A driver log record built from named fields, for the event log's tests.
// The offsets are written from the driver record's layout table, apart from
// the agent's own: a wrong offset in one shows against the other.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "eventlog/log_record.h"

struct RecordFields {
  uint32_t timeSeconds = 0, timeMicroseconds = 0;
  int16_t column15Value = 0, eventCode = 0;
  int32_t logId = 0, column18Value = 0;
  uint32_t column21Value = 0;
  uint16_t column20Value = 0, layerFlags = 0;
  uint32_t column4Length = 0;
  std::array<uint8_t, 8> column4Bytes{};
  uint32_t column14Value = 0;
  uint16_t column19Length = 0, dataLength = 0;
  std::array<uint8_t, 16> column19Bytes{};
  uint16_t payloadLength = 0, column24Value = 0, recordFlags = 0;
  uint32_t secondSeconds = 0, secondMicroseconds = 0, trailerValue = 0;
  uint16_t column23Value = 0;
  std::array<uint8_t, 6> ethernetDestination{}, ethernetSource{};
  uint16_t etherType = 0;
  // IPv4 header fields, in host order; they land big-endian.
  uint16_t ipv4TotalLength = 0, ipv4Fragment = 0;
  uint8_t ipv4Protocol = 0;
  std::array<uint8_t, 4> ipv4Source{}, ipv4Destination{};
  // IPv6 header fields.
  uint8_t ipv6NextHeader = 0;
  std::array<uint8_t, 16> ipv6Source{}, ipv6Destination{};
  // Transport header: ports in host order; ICMP type and code share the
  // ports' first two bytes, so set them only for ICMP records.
  uint16_t sourcePort = 0, destinationPort = 0;
  uint8_t icmpType = 0, icmpCode = 0;
  bool icmp = false;
  uint8_t tcpFlags = 0;
  const uint8_t* dataPointer = nullptr;
};

namespace record_builder_detail {
template <class T>
inline void PutLe(std::array<uint8_t, 192>& b, size_t offset, T value) {
  for (size_t i = 0; i < sizeof(T); ++i) b[offset + i] = static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * i));
}
inline void PutBe16(std::array<uint8_t, 192>& b, size_t offset, uint16_t value) {
  b[offset] = static_cast<uint8_t>(value >> 8);
  b[offset + 1] = static_cast<uint8_t>(value);
}
template <size_t N>
inline void PutBytes(std::array<uint8_t, 192>& b, size_t offset, const std::array<uint8_t, N>& bytes) {
  std::memcpy(b.data() + offset, bytes.data(), N);
}
}  // namespace record_builder_detail

inline std::array<uint8_t, 192> BuildRecord(const RecordFields& f) {
  using namespace record_builder_detail;
  std::array<uint8_t, 192> b{};
  PutLe(b, 0, f.timeSeconds);
  PutLe(b, 4, f.timeMicroseconds);
  PutLe(b, 20, static_cast<uint16_t>(f.column15Value));
  PutLe(b, 22, static_cast<uint16_t>(f.eventCode));
  PutLe(b, 24, static_cast<uint32_t>(f.logId));
  PutLe(b, 28, static_cast<uint32_t>(f.column18Value));
  PutLe(b, 32, f.column21Value);
  PutLe(b, 36, f.column20Value);
  PutLe(b, 38, f.layerFlags);
  PutLe(b, 40, f.column4Length);
  PutBytes(b, 44, f.column4Bytes);
  PutLe(b, 52, f.column14Value);
  PutLe(b, 56, f.column19Length);
  PutLe(b, 58, f.dataLength);
  PutBytes(b, 60, f.column19Bytes);
  PutLe(b, 76, f.payloadLength);
  PutLe(b, 78, f.column24Value);
  PutLe(b, 84, f.recordFlags);
  PutLe(b, 88, f.secondSeconds);
  PutLe(b, 92, f.secondMicroseconds);
  PutLe(b, 96, f.trailerValue);
  PutLe(b, 100, f.column23Value);
  PutBytes(b, 102, f.ethernetDestination);
  PutBytes(b, 108, f.ethernetSource);
  PutBe16(b, 114, f.etherType);
  // IPv4 and IPv6 share the header's 40 bytes; only the fields of the one
  // the test sets are written, IPv6's first so that IPv4's win.
  if (f.ipv6NextHeader != 0) b[126] = f.ipv6NextHeader;
  if (f.ipv6Source != std::array<uint8_t, 16>{}) PutBytes(b, 128, f.ipv6Source);
  if (f.ipv6Destination != std::array<uint8_t, 16>{}) PutBytes(b, 144, f.ipv6Destination);
  if (f.ipv4TotalLength != 0) PutBe16(b, 122, f.ipv4TotalLength);
  if (f.ipv4Fragment != 0) PutBe16(b, 126, f.ipv4Fragment);
  if (f.ipv4Protocol != 0) b[129] = f.ipv4Protocol;
  if (f.ipv4Source != std::array<uint8_t, 4>{}) PutBytes(b, 132, f.ipv4Source);
  if (f.ipv4Destination != std::array<uint8_t, 4>{}) PutBytes(b, 136, f.ipv4Destination);
  if (f.icmp) {
    b[160] = f.icmpType;
    b[161] = f.icmpCode;
  } else {
    PutBe16(b, 160, f.sourcePort);
    PutBe16(b, 162, f.destinationPort);
  }
  b[173] = f.tcpFlags;
  PutLe(b, 184, reinterpret_cast<uintptr_t>(f.dataPointer));
  return b;
}

// The copy ProcessLogData would format: the record with `extra` behind it.
inline std::unique_ptr<LogRecordCopy> CopyOf(const RecordFields& fields, const std::vector<uint8_t>& extra = {}) {
  auto copy = std::make_unique<LogRecordCopy>();
  std::array<uint8_t, 192> block = BuildRecord(fields);
  std::memcpy(copy->bytes, block.data(), block.size());
  if (!extra.empty()) std::memcpy(copy->bytes + 192, extra.data(), extra.size());
  copy->extraLength = static_cast<uint32_t>(extra.size());
  return copy;
}
