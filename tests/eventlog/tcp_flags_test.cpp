// AppendTcpFlags: the start of column 9, one word with its blank per flag,
// from the highest bit down.
#include <gtest/gtest.h>

#include "eventlog/record_appenders.h"
#include "record_text.h"

namespace {

RecordFields TcpOverIPv6(uint8_t flags) {
  RecordFields f;
  f.layerFlags = 0x20 | 0x40;
  f.ipv6NextHeader = 6;
  f.tcpFlags = flags;
  return f;
}

TEST(TcpFlags, EachFlagAloneKeepsItsBlank) {
  const std::pair<uint8_t, const char*> cases[] = {{0x80, "CWR "}, {0x40, "ECE "}, {0x20, "URG "}, {0x10, "ACK "},
                                                   {0x08, "PSH "}, {0x04, "RST "}, {0x02, "SYN "}, {0x01, "FIN "}};
  for (auto [flags, expected] : cases)
    EXPECT_EQ(AppendedBy(AppendTcpFlags, TcpOverIPv6(flags)), expected) << "flags " << int{flags};
}

TEST(TcpFlags, AllFlagsFromTheHighestBitDown) {
  EXPECT_EQ(AppendedBy(AppendTcpFlags, TcpOverIPv6(0xFF)), "CWR ECE URG ACK PSH RST SYN FIN ");
  EXPECT_EQ(AppendedBy(AppendTcpFlags, TcpOverIPv6(0x11)), "ACK FIN ");
  EXPECT_EQ(AppendedBy(AppendTcpFlags, TcpOverIPv6(0x00)), "");
}

TEST(TcpFlags, OverIPv4) {
  RecordFields f;
  f.layerFlags = 0x10 | 0x40;
  f.ipv4Protocol = 6;
  f.tcpFlags = 0x14;
  EXPECT_EQ(AppendedBy(AppendTcpFlags, f), "ACK RST ");
}

TEST(TcpFlags, NeedTcpTheTransportBitAndAnIpHeader) {
  RecordFields f = TcpOverIPv6(0x02);
  f.layerFlags = 0x20;
  EXPECT_EQ(AppendedBy(AppendTcpFlags, f), "");
  f = TcpOverIPv6(0x02);
  f.ipv6NextHeader = 17;
  EXPECT_EQ(AppendedBy(AppendTcpFlags, f), "");
  f = TcpOverIPv6(0x02);
  f.layerFlags = 0x08 | 0x40;
  EXPECT_EQ(AppendedBy(AppendTcpFlags, f), "");
}

TEST(TcpFlagsInColumn9, TheLastBlankMeetsTheIpFlags) {
  RecordFields f;
  f.layerFlags = 0x10 | 0x40;
  f.ipv4Protocol = 6;
  f.ipv4Fragment = 0x4000;
  f.tcpFlags = 0x01;
  EXPECT_EQ(Column(Formatted(f), 9), "FIN DF=1");
}

}  // namespace
