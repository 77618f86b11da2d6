// The driver's event record, as mli_get_log fills it, and the copy that
// ProcessLogData formats: the 192-byte block with the extra bytes (the
// payload) behind it. Multi-byte fields are little-endian unless named
// big-endian; the frame's headers sit in the block in network order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

constexpr uint32_t kLogRecordSize = 192;
// ProcessLogData's local buffer: the block, then at most this much extra.
constexpr uint32_t kLogCopySize = 65536;
constexpr uint32_t kMaxExtraLength = kLogCopySize - kLogRecordSize;  // 65344

// Offsets of the fields the agent reads.
namespace LogField {
constexpr size_t timeSeconds = 0, timeMicroseconds = 4;
constexpr size_t column15Value = 20, eventCode = 22, logId = 24, column18Value = 28;
constexpr size_t column21Value = 32, column20Value = 36, layerFlags = 38;
constexpr size_t column4Length = 40, column4Bytes = 44, column14Value = 52;
constexpr size_t column19Length = 56, dataLength = 58, column19Bytes = 60;
constexpr size_t payloadLength = 76, column24Value = 78, recordFlags = 84;
constexpr size_t secondSeconds = 88, secondMicroseconds = 92, trailerValue = 96, column23Value = 100;
constexpr size_t ethernetDestination = 102, ethernetSource = 108, etherType = 114;
constexpr size_t ipHeader = 120, ipv4TotalLength = 122, ipv4Fragment = 126, ipv4Protocol = 129;
constexpr size_t ipv4Source = 132, ipv4Destination = 136;
constexpr size_t ipv6NextHeader = 126, ipv6Source = 128, ipv6Destination = 144;
constexpr size_t transportHeader = 160, sourcePort = 160, destinationPort = 162, tcpFlags = 173;
constexpr size_t icmpType = 160, icmpCode = 161;
constexpr size_t dataPointer = 184;
}  // namespace LogField

// layerFlags bits.
constexpr uint16_t kLayerColumn2 = 0x01, kLayerColumn3 = 0x02, kLayerEthernet = 0x08;
constexpr uint16_t kLayerIPv4 = 0x10, kLayerIPv6 = 0x20, kLayerTransport = 0x40;
// recordFlags bits: the payload follows; the record is not to be logged.
constexpr uint16_t kRecordPayload = 0x02, kRecordNotLogged = 0x40;

// The copy ProcessLogData formats.
struct LogRecordCopy {
  alignas(8) uint8_t bytes[kLogCopySize];
  uint32_t extraLength = 0;  // bytes behind the block that came with the record
};

// Copies the block and extraLength bytes of extra behind it; a null extra
// brings none. False, logged, for more extra than the buffer holds.
bool CopyLogRecord(const void* record, const void* extra, uint32_t extraLength, LogRecordCopy& copy);

template <class T>
inline T ReadLe(const uint8_t* record, size_t offset) {
  T value;
  std::memcpy(&value, record + offset, sizeof value);
  return value;
}
inline uint16_t ReadBe16(const uint8_t* record, size_t offset) {
  return static_cast<uint16_t>(record[offset] << 8 | record[offset + 1]);
}
