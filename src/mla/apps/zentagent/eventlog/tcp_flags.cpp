#include "eventlog/record_appenders.h"

void AppendTcpFlags(ColumnBuffer& buffer, const uint8_t* record) {
  uint8_t protocol;
  if (!RecordProtocol(record, protocol) || protocol != 6) return;
  if (!(ReadLe<uint16_t>(record, LogField::layerFlags) & kLayerTransport)) return;
  static const char* const kWords[8] = {"CWR ", "ECE ", "URG ", "ACK ", "PSH ", "RST ", "SYN ", "FIN "};
  uint8_t flags = record[LogField::tcpFlags];
  // Every word keeps its blank, the last one too: the IP flags follow it.
  for (int bit = 7; bit >= 0; --bit)
    if (flags & (1u << bit)) AppendText(buffer, kWords[7 - bit], 4);
}
