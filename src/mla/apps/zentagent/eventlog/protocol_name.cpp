#include "eventlog/record_appenders.h"

void AppendProtocolName(ColumnBuffer& buffer, const uint8_t* record) {
  uint8_t protocol;
  if (!RecordProtocol(record, protocol)) return;
  // An IPv6 extension header has no name here and shows as its number.
  switch (protocol) {
    case 1: AppendLiteral(buffer, "ICMP"); break;
    case 2: AppendLiteral(buffer, "IGMP"); break;
    case 3: AppendLiteral(buffer, "GGP"); break;
    case 6: AppendLiteral(buffer, "TCP"); break;
    case 12: AppendLiteral(buffer, "PUP"); break;
    case 17: AppendLiteral(buffer, "UDP"); break;
    case 22: AppendLiteral(buffer, "IDP"); break;
    case 58: AppendLiteral(buffer, "ICMPv6"); break;
    case 77: AppendLiteral(buffer, "ND"); break;
    default: AppendUnsigned(buffer, protocol); break;
  }
}
