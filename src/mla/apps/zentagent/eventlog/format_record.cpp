#include "eventlog/format_record.h"

#include "eventlog/column_buffer.h"
#include "eventlog/record_appenders.h"
#include "log/debug_log.h"

namespace {

using namespace LogField;

void AppendFrameType(ColumnBuffer& buffer, const uint8_t* record, uint16_t layers) {
  if (layers & kLayerEthernet) {
    uint16_t etherType = ReadBe16(record, LogField::etherType);
    switch (etherType) {
      case 0x0800: AppendLiteral(buffer, "IP"); return;
      case 0x0806: AppendLiteral(buffer, "ARP"); return;
      case 0x8035: AppendLiteral(buffer, "RevARP"); return;
      case 0x8191: AppendLiteral(buffer, "NetBEUI"); return;
      case 0x86DD: AppendLiteral(buffer, "IPv6"); return;
      default:
        // "%#x": a zero has no "0x".
        if (etherType != 0) AppendLiteral(buffer, "0x");
        AppendLowerHex(buffer, etherType);
        return;
    }
  }
  if (layers & kLayerIPv4)
    AppendLiteral(buffer, "IP");
  else if (layers & kLayerIPv6)
    AppendLiteral(buffer, "IPv6");
}

// "%d.%d.%d.%d" for IPv4, eight "%hx" words joined by ":" for IPv6, with no
// shortening of zeros.
void AppendAddress(ColumnBuffer& buffer, const uint8_t* record, uint16_t layers, size_t ipv4, size_t ipv6) {
  if (layers & kLayerIPv4) {
    for (size_t i = 0; i < 4; ++i) {
      if (i != 0) AppendLiteral(buffer, ".");
      AppendUnsigned(buffer, record[ipv4 + i]);
    }
  } else if (layers & kLayerIPv6) {
    for (size_t i = 0; i < 8; ++i) {
      if (i != 0) AppendLiteral(buffer, ":");
      AppendLowerHex(buffer, ReadBe16(record, ipv6 + 2 * i));
    }
  }
}

bool HasPorts(const uint8_t* record, uint16_t layers) {
  uint8_t protocol;
  return (layers & kLayerTransport) && RecordProtocol(record, protocol) && (protocol == 6 || protocol == 17);
}

void AppendIcmpText(ColumnBuffer& buffer, const uint8_t* record, uint16_t layers) {
  // ICMPv6 gets no such text.
  if (!(layers & kLayerIPv4) || !(layers & kLayerTransport) || record[ipv4Protocol] != 1) return;
  AppendLiteral(buffer, "Type:");
  AppendUnsigned(buffer, record[icmpType]);
  AppendLiteral(buffer, " Code:");
  AppendUnsigned(buffer, record[icmpCode]);
}

// The flag bits in the order the column shows them.
uint32_t PermutedRecordFlags(uint16_t flags) {
  return (flags >> 3 & 1) | (flags >> 4 & 1) << 1 | (flags >> 5 & 1) << 2 | (flags >> 1 & 1) << 3 |
         (flags >> 2 & 1) << 4 | (flags & 1) << 5;
}

uint64_t Microseconds(const uint8_t* record, size_t seconds, size_t microseconds) {
  return uint64_t{ReadLe<uint32_t>(record, seconds)} * 1000000u + ReadLe<uint32_t>(record, microseconds);
}

// Columns 1 to 24, each followed by its separator.
void AppendColumns(ColumnBuffer& buffer, const uint8_t* record) {
  uint16_t layers = ReadLe<uint16_t>(record, layerFlags);
  uint16_t flags = ReadLe<uint16_t>(record, recordFlags);
  int16_t event = ReadLe<int16_t>(record, eventCode);

  AppendLiteral(buffer, event < 0 ? "d, " : "f, ");
  AppendLiteral(buffer, layers & kLayerColumn2 ? "1, " : "0, ");
  // The reverse sense of column 2's.
  AppendLiteral(buffer, layers & kLayerColumn3 ? "0, " : "1, ");
  uint32_t length4 = ReadLe<uint32_t>(record, column4Length);
  AppendHexBytes(buffer, record + column4Bytes, length4 < 8 ? length4 : 8, true);
  AppendSeparator(buffer);
  AppendFrameType(buffer, record, layers);
  AppendSeparator(buffer);
  if (layers & kLayerEthernet) AppendHexBytes(buffer, record + ethernetSource, 6, true);
  AppendSeparator(buffer);
  if (layers & kLayerEthernet) AppendHexBytes(buffer, record + ethernetDestination, 6, true);
  AppendSeparator(buffer);
  AppendProtocolName(buffer, record);
  AppendSeparator(buffer);
  AppendTcpFlags(buffer, record);
  // The ICMP text runs straight into the IP flags, with no blank between.
  AppendIcmpText(buffer, record, layers);
  AppendIpFlags(buffer, record);
  AppendSeparator(buffer);
  bool ports = HasPorts(record, layers);
  AppendAddress(buffer, record, layers, ipv4Source, ipv6Source);
  AppendSeparator(buffer);
  if (ports) AppendUnsigned(buffer, ReadBe16(record, sourcePort));
  AppendSeparator(buffer);
  AppendAddress(buffer, record, layers, ipv4Destination, ipv6Destination);
  AppendSeparator(buffer);
  if (ports) AppendUnsigned(buffer, ReadBe16(record, destinationPort));
  AppendSeparator(buffer);
  AppendUnsigned(buffer, ReadLe<uint32_t>(record, column14Value));
  AppendSeparator(buffer);
  AppendSigned(buffer, ReadLe<int16_t>(record, column15Value));
  AppendSeparator(buffer);
  AppendSigned(buffer, event);
  AppendSeparator(buffer);
  AppendSigned(buffer, ReadLe<int32_t>(record, logId));
  AppendSeparator(buffer);
  AppendSigned(buffer, ReadLe<int32_t>(record, column18Value));
  AppendSeparator(buffer);
  uint16_t length19 = ReadLe<uint16_t>(record, column19Length);
  AppendHexBytes(buffer, record + column19Bytes, length19 < 16 ? length19 : 16, false);
  AppendSeparator(buffer);
  AppendUnsigned(buffer, ReadLe<uint16_t>(record, column20Value));
  AppendSeparator(buffer);
  AppendUnsigned(buffer, ReadLe<uint32_t>(record, column21Value));
  AppendSeparator(buffer);
  AppendUnsigned(buffer, PermutedRecordFlags(flags));
  AppendSeparator(buffer);
  AppendUnsigned(buffer, ReadLe<uint16_t>(record, column23Value));
  AppendSeparator(buffer);
  if (flags & 0x06) AppendUnsigned(buffer, ReadLe<uint16_t>(record, column24Value));
  AppendSeparator(buffer);
}

}  // namespace

void AppendHex(const uint8_t* bytes, size_t count, std::string& text) {
  size_t start = text.size();
  text.resize(start + 2 * count);
  char* out = text.data() + start;
  for (size_t i = 0; i < count; ++i) {
    out[2 * i] = kUpperHexDigits[bytes[i] >> 4];
    out[2 * i + 1] = kUpperHexDigits[bytes[i] & 0xF];
  }
}

bool FormatRecord(const LogRecordCopy& copy, std::string& text, uint64_t& firstTime, uint64_t& secondTime) {
  const uint8_t* record = copy.bytes;
  firstTime = Microseconds(record, timeSeconds, timeMicroseconds);
  secondTime = Microseconds(record, secondSeconds, secondMicroseconds);

  ColumnBuffer buffer;
  AppendColumns(buffer, record);

  uint16_t payload = ReadLe<uint16_t>(record, payloadLength);
  uint16_t data = ReadLe<uint16_t>(record, dataLength);
  text.clear();
  text.reserve(buffer.length + 2 * (size_t{data} + payload) + 2);
  text.append(buffer.text, buffer.length);

  int32_t id = ReadLe<int32_t>(record, logId);
  if (ReadLe<uint16_t>(record, recordFlags) & kRecordPayload) {
    uint32_t present = payload;
    if (copy.extraLength < present) {
      present = copy.extraLength;
      ZENT_LOG(1, L"log id=%d: payload length %u, %u bytes came\n", id, uint32_t{payload}, present);
    }
    AppendHex(record + kLogRecordSize, present, text);
  }
  text += ", ";
  if (data != 0) {
    const uint8_t* dataBytes;
    std::memcpy(&dataBytes, record + dataPointer, sizeof dataBytes);
    if (dataBytes != nullptr)
      AppendHex(dataBytes, data, text);
    else
      ZENT_LOG(1, L"log id=%d: %u data bytes without a pointer\n", id, uint32_t{data});
  }
  return true;
}
