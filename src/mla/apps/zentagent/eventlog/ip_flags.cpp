#include "eventlog/record_appenders.h"

void AppendIpFlags(ColumnBuffer& buffer, const uint8_t* record) {
  if (!(ReadLe<uint16_t>(record, LogField::layerFlags) & kLayerIPv4)) return;
  int16_t eventCode = ReadLe<int16_t>(record, LogField::eventCode);
  // These events show every flag with the offset and the total length.
  bool full = eventCode >= 108 && eventCode <= 112;
  uint16_t fragment = ReadBe16(record, LogField::ipv4Fragment);
  bool dontFragment = fragment & 0x4000;
  bool moreFragments = fragment & 0x2000;
  if (dontFragment)
    AppendLiteral(buffer, "DF=1");
  else if (full)
    AppendLiteral(buffer, "DF=0");
  if (!moreFragments) {
    if (!full) return;
    AppendLiteral(buffer, " MF=0");
  } else {
    // MF alone on an ordinary event has no blank before it.
    if (dontFragment || full) AppendLiteral(buffer, " ");
    AppendLiteral(buffer, "MF=1");
  }
  if (!full) return;
  // The fragment word times 8, kept to 16 bits: the flags drop out and the
  // offset is in bytes.
  AppendLiteral(buffer, " FragOffs=");
  AppendUnsigned(buffer, static_cast<uint16_t>(fragment * 8u));
  AppendLiteral(buffer, " IPTotalLen=");
  AppendUnsigned(buffer, ReadBe16(record, LogField::ipv4TotalLength));
}
