// The three appenders of a record's text that have rules of their own: the
// protocol name (column 8), the TCP flags (start of column 9) and the IP
// flags (end of column 9). Each takes the fixed buffer and the record.
#pragma once

#include <cstdint>

#include "eventlog/column_buffer.h"
#include "eventlog/log_record.h"

// The protocol of the IP header the record holds: the IPv4 protocol byte
// when there is an IPv4 header, otherwise the IPv6 next header; false
// without an IP header.
inline bool RecordProtocol(const uint8_t* record, uint8_t& protocol) {
  uint16_t layers = ReadLe<uint16_t>(record, LogField::layerFlags);
  if (layers & kLayerIPv4) {
    protocol = record[LogField::ipv4Protocol];
    return true;
  }
  if (layers & kLayerIPv6) {
    protocol = record[LogField::ipv6NextHeader];
    return true;
  }
  return false;
}

void AppendProtocolName(ColumnBuffer& buffer, const uint8_t* record);
void AppendTcpFlags(ColumnBuffer& buffer, const uint8_t* record);
void AppendIpFlags(ColumnBuffer& buffer, const uint8_t* record);
