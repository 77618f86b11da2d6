// AppendIpFlags: the end of column 9, from the IPv4 fragment word; events
// 108 to 112 show every flag with the offset and the total length.
#include <gtest/gtest.h>

#include "eventlog/record_appenders.h"
#include "record_text.h"

namespace {

RecordFields IPv4(int16_t eventCode, uint16_t fragment, uint16_t totalLength = 1500) {
  RecordFields f;
  f.layerFlags = 0x10;
  f.eventCode = eventCode;
  f.ipv4Fragment = fragment;
  f.ipv4TotalLength = totalLength;
  return f;
}

TEST(IpFlags, OrdinaryPacketWithDontFragmentShowsDFAlone) {
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(5, 0x4000)), "DF=1");
}

TEST(IpFlags, OrdinaryPacketWithoutFlagsShowsNothing) {
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(5, 0x0000)), "");
  // An offset without flags shows nothing either.
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(5, 0x1FFF)), "");
}

TEST(IpFlags, DontFragmentAndMoreFragmentsWithoutFullText) {
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(5, 0x6000)), "DF=1 MF=1");
}

TEST(IpFlags, MoreFragmentsAloneWithoutFullTextHasNoLeadingBlank) {
  // The odd spacing is the log's own: "MF=1" with no blank before it.
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(5, 0x2000)), "MF=1");
}

TEST(IpFlags, Event110WithoutFlagsShowsOffsetInBytesAndTotalLength) {
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(110, 0x0003, 1500)), "DF=0 MF=0 FragOffs=24 IPTotalLen=1500");
}

TEST(IpFlags, Event110WithMoreFragments) {
  // 0x2003 * 8 = 0x10018, kept to 16 bits: 24.
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(110, 0x2003, 1500)), "DF=0 MF=1 FragOffs=24 IPTotalLen=1500");
}

TEST(IpFlags, FullTextWithDontFragment) {
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(108, 0x4000, 60)), "DF=1 MF=0 FragOffs=0 IPTotalLen=60");
}

TEST(IpFlags, FullTextAtTheLargestWordAndLength) {
  // 0xFFFF * 8 = 0x7FFF8, kept to 16 bits: 65528.
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(112, 0xFFFF, 0xFFFF)), "DF=1 MF=1 FragOffs=65528 IPTotalLen=65535");
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(111, 0x1FFF, 0)), "DF=0 MF=0 FragOffs=65528 IPTotalLen=0");
}

TEST(IpFlags, FullTextForEvents108To112Only) {
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(107, 0x0000)), "");
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(108, 0x0000)), "DF=0 MF=0 FragOffs=0 IPTotalLen=1500");
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(109, 0x0000)), "DF=0 MF=0 FragOffs=0 IPTotalLen=1500");
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(112, 0x0000)), "DF=0 MF=0 FragOffs=0 IPTotalLen=1500");
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(113, 0x0000)), "");
  EXPECT_EQ(AppendedBy(AppendIpFlags, IPv4(-110, 0x0000)), "");
}

TEST(IpFlags, OnlyForIPv4) {
  RecordFields f = IPv4(110, 0x6000);
  f.layerFlags = 0x20;
  EXPECT_EQ(AppendedBy(AppendIpFlags, f), "");
  f.layerFlags = 0x08;
  EXPECT_EQ(AppendedBy(AppendIpFlags, f), "");
}

TEST(IpFlagsInColumn9, Event110WithMoreFragmentsOverUdp) {
  RecordFields f = IPv4(110, 0x2001, 28);
  f.layerFlags = 0x10 | 0x40;
  f.ipv4Protocol = 17;
  EXPECT_EQ(Column(Formatted(f), 9), "DF=0 MF=1 FragOffs=8 IPTotalLen=28");
}

}  // namespace
