// FormatRecord: one driver record to the 26 columns of its log line, byte
// for byte. Each expected line is written from the column rules: columns
// joined by ", ", an empty column leaving two separators side by side, and
// nothing after column 26.
#include "eventlog/format_record.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "record_builder.h"
#include "record_text.h"
#include "util/captured_log.h"

namespace {

constexpr std::array<uint8_t, 6> kSourceMac = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
constexpr std::array<uint8_t, 6> kDestinationMac = {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
// 2001:db8::1, fe80::abcd:ef01
constexpr std::array<uint8_t, 16> kDocumentationAddress = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
constexpr std::array<uint8_t, 16> kLinkLocalAddress = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xab, 0xcd, 0xef, 0x01};

RecordFields EthernetFrame(uint16_t etherType) {
  RecordFields f;
  f.layerFlags = 0x08;
  f.etherType = etherType;
  f.ethernetSource = kSourceMac;
  f.ethernetDestination = kDestinationMac;
  return f;
}

RecordFields TcpSynToPort80() {
  RecordFields f = EthernetFrame(0x0800);
  f.timeSeconds = 1700000000;
  f.timeMicroseconds = 123456;
  f.secondSeconds = 1700000001;
  f.secondMicroseconds = 5;
  f.eventCode = 5;
  f.column15Value = -3;
  f.logId = 1001;
  f.column18Value = 42;
  f.column14Value = 7;
  f.column20Value = 3;
  f.column21Value = 4;
  f.column23Value = 9;
  f.layerFlags = 0x08 | 0x10 | 0x40;
  f.ipv4Protocol = 6;
  f.ipv4Fragment = 0x4000;
  f.ipv4TotalLength = 60;
  f.ipv4Source = {192, 168, 1, 10};
  f.ipv4Destination = {10, 0, 0, 1};
  f.sourcePort = 49152;
  f.destinationPort = 80;
  f.tcpFlags = 0x02;
  return f;
}

// Every column of every record kind.

TEST(RecordKinds, EthernetIPv4TcpSynWithDontFragmentToPort80) {
  auto copy = CopyOf(TcpSynToPort80());
  std::string text;
  uint64_t firstTime = 0, secondTime = 0;
  EXPECT_TRUE(FormatRecord(*copy, text, firstTime, secondTime));
  EXPECT_EQ(text,
            "f, 0, 1, , IP, 00 11 22 33 44 55, AA BB CC DD EE FF, TCP, SYN DF=1, 192.168.1.10, 49152, 10.0.0.1, 80, "
            "7, -3, 5, 1001, 42, , 3, 4, 0, 9, , , ");
  EXPECT_EQ(firstTime, 1700000000123456u);
  EXPECT_EQ(secondTime, 1700000001000005u);
}

TEST(RecordKinds, EthernetArpAloneLeavesRunsOfEmptyColumns) {
  RecordFields f = EthernetFrame(0x0806);
  f.logId = 2;
  EXPECT_EQ(Formatted(f),
            "f, 0, 1, , ARP, 00 11 22 33 44 55, AA BB CC DD EE FF, , , , , , , 0, 0, 0, 2, 0, , 0, 0, 0, 0, , , ");
}

TEST(RecordKinds, EthernetIPv6Udp) {
  RecordFields f = EthernetFrame(0x86DD);
  f.layerFlags = 0x08 | 0x20 | 0x40;
  f.ipv6NextHeader = 17;
  f.ipv6Source = kDocumentationAddress;
  f.ipv6Destination = {0xff, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xfb};
  f.sourcePort = 5353;
  f.destinationPort = 5353;
  f.logId = 3;
  EXPECT_EQ(Formatted(f),
            "f, 0, 1, , IPv6, 00 11 22 33 44 55, AA BB CC DD EE FF, UDP, , 2001:db8:0:0:0:0:0:1, 5353, "
            "ff02:0:0:0:0:0:0:fb, 5353, 0, 0, 0, 3, 0, , 0, 0, 0, 0, , , ");
}

TEST(RecordKinds, IPv4UdpWithoutEthernetOrFlagsHasEmptyColumn9) {
  RecordFields f;
  f.layerFlags = 0x10 | 0x40;
  f.ipv4Protocol = 17;
  f.ipv4TotalLength = 76;
  f.ipv4Source = {10, 1, 2, 3};
  f.ipv4Destination = {10, 3, 2, 1};
  f.sourcePort = 53;
  f.destinationPort = 1024;
  f.logId = 4;
  EXPECT_EQ(Formatted(f), "f, 0, 1, , IP, , , UDP, , 10.1.2.3, 53, 10.3.2.1, 1024, 0, 0, 0, 4, 0, , 0, 0, 0, 0, , , ");
}

TEST(RecordKinds, IPv6TcpWithoutEthernetShowsTheTcpFlagsAlone) {
  RecordFields f;
  f.layerFlags = 0x20 | 0x40 | 0x01 | 0x02;
  f.ipv6NextHeader = 6;
  f.tcpFlags = 0x18;
  f.ipv6Source = kDocumentationAddress;
  f.ipv6Destination = kLinkLocalAddress;
  f.sourcePort = 443;
  f.destinationPort = 50000;
  f.logId = 5;
  // Column 3 is "0" because its bit is set: the reverse of column 2.
  EXPECT_EQ(Formatted(f),
            "f, 1, 0, , IPv6, , , TCP, ACK PSH , 2001:db8:0:0:0:0:0:1, 443, fe80:0:0:0:0:0:abcd:ef01, 50000, "
            "0, 0, 0, 5, 0, , 0, 0, 0, 0, , , ");
}

TEST(RecordKinds, NoLayerAtAllLeavesColumns4To13Empty) {
  // Header bytes are there, but no layer bit says so.
  RecordFields f;
  f.ipv4Protocol = 6;
  f.ipv4Source = {1, 2, 3, 4};
  f.sourcePort = 80;
  f.tcpFlags = 0x02;
  f.etherType = 0x0800;
  f.logId = 6;
  EXPECT_EQ(Formatted(f), "f, 0, 1, , , , , , , , , , , 0, 0, 0, 6, 0, , 0, 0, 0, 0, , , ");
}

TEST(RecordKinds, IcmpEchoRequestWithDontFragment) {
  RecordFields f = EthernetFrame(0x0800);
  f.layerFlags = 0x08 | 0x10 | 0x40;
  f.ipv4Protocol = 1;
  f.ipv4Fragment = 0x4000;
  f.ipv4Source = {192, 168, 1, 10};
  f.ipv4Destination = {8, 8, 8, 8};
  f.icmp = true;
  f.icmpType = 8;
  f.icmpCode = 0;
  f.logId = 7;
  // The ICMP text runs into the IP flags with no blank: the log has always
  // shown it so.
  EXPECT_EQ(Formatted(f),
            "f, 0, 1, , IP, 00 11 22 33 44 55, AA BB CC DD EE FF, ICMP, Type:8 Code:0DF=1, 192.168.1.10, , 8.8.8.8, , "
            "0, 0, 0, 7, 0, , 0, 0, 0, 0, , , ");
}

TEST(RecordKinds, Icmpv6HasNoTypeTextAndNoPorts) {
  RecordFields f;
  f.layerFlags = 0x20 | 0x40;
  f.ipv6NextHeader = 58;
  f.ipv6Source = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  f.ipv6Destination = {0xfe, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
  f.icmp = true;
  f.icmpType = 128;
  f.logId = 8;
  EXPECT_EQ(Formatted(f),
            "f, 0, 1, , IPv6, , , ICMPv6, , fe80:0:0:0:0:0:0:1, , fe80:0:0:0:0:0:0:2, , 0, 0, 0, 8, 0, , 0, 0, 0, 0, , , ");
}

TEST(RecordKinds, PayloadRecordOfClassDWithDataAndEveryColumnFilled) {
  RecordFields f = TcpSynToPort80();
  f.eventCode = -32768;
  f.column4Length = 6;
  f.column4Bytes = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
  f.column19Length = 4;
  f.column19Bytes = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4};
  f.tcpFlags = 0x12;
  f.ipv4Fragment = 0;
  f.ipv4Source = {10, 0, 0, 1};
  f.ipv4Destination = {192, 168, 1, 10};
  f.sourcePort = 80;
  f.destinationPort = 49152;
  f.column14Value = 100;
  f.column15Value = 2;
  f.logId = 11;
  f.column18Value = -5;
  f.column20Value = 60;
  f.column21Value = 70;
  f.column23Value = 90;
  f.recordFlags = 0x02;
  f.column24Value = 1234;
  f.payloadLength = 4;
  const uint8_t data[] = {0x01, 0xFF};
  f.dataLength = 2;
  f.dataPointer = data;
  EXPECT_EQ(Formatted(f, {0xDE, 0xAD, 0xBE, 0xEF}),
            "d, 0, 1, 01 02 03 04 05 06, IP, 00 11 22 33 44 55, AA BB CC DD EE FF, TCP, ACK SYN , 10.0.0.1, 80, "
            "192.168.1.10, 49152, 100, 2, -32768, 11, -5, A0A1A2A3, 60, 70, 8, 90, 1234, DEADBEEF, 01FF");
}

TEST(RecordKinds, EveryFieldAtItsLargest) {
  RecordFields f;
  f.layerFlags = 0x01 | 0x02 | 0x08 | 0x10 | 0x20 | 0x40;
  f.etherType = 0xFFFF;
  f.ethernetSource = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  f.ethernetDestination = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  f.eventCode = 110;
  f.ipv4Protocol = 6;
  f.ipv4Fragment = 0xFFFF;
  f.ipv4TotalLength = 0xFFFF;
  f.ipv4Source = {255, 255, 255, 255};
  f.ipv4Destination = {255, 255, 255, 255};
  f.sourcePort = 65535;
  f.destinationPort = 65535;
  f.tcpFlags = 0xFF;
  f.column4Length = 0xFFFFFFFF;
  f.column4Bytes.fill(0xFF);
  f.column19Length = 65535;
  f.column19Bytes.fill(0xFF);
  f.column14Value = 4294967295u;
  f.column15Value = -32768;
  f.logId = INT_MIN;
  f.column18Value = INT_MIN;
  f.column20Value = 65535;
  f.column21Value = 4294967295u;
  f.recordFlags = 0xFFFF;
  f.column23Value = 65535;
  f.column24Value = 65535;
  // With both IP bits set the IPv4 header is the one read. Columns 1 to 24
  // take 330 bytes here, and under 400 with IPv6 addresses instead: far from
  // the buffer's 1024, so its cut is shown on the buffer itself.
  std::string text = Formatted(f);
  EXPECT_EQ(text,
            "f, 1, 0, FF FF FF FF FF FF FF FF, 0xffff, FF FF FF FF FF FF, FF FF FF FF FF FF, TCP, "
            "CWR ECE URG ACK PSH RST SYN FIN DF=1 MF=1 FragOffs=65528 IPTotalLen=65535, 255.255.255.255, 65535, "
            "255.255.255.255, 65535, 4294967295, -32768, 110, -2147483648, -2147483648, "
            "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF, 65535, 4294967295, 63, 65535, 65535, , ");
}

TEST(RecordKinds, IPv6AddressesAtTheirLongest) {
  RecordFields f;
  f.layerFlags = 0x20;
  f.ipv6Source.fill(0xFF);
  f.ipv6Destination = {0x00, 0x01, 0x00, 0x20, 0x03, 0x00, 0x40, 0x00, 0xab, 0xcd, 0x0f, 0xff, 0x00, 0x00, 0xf0, 0x0f};
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 10), "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
  EXPECT_EQ(Column(text, 12), "1:20:300:4000:abcd:fff:0:f00f");
}

// Column 5.

struct FrameTypeCase {
  uint16_t layerFlags;
  uint16_t etherType;
  const char* expected;
};

class FrameType : public ::testing::TestWithParam<FrameTypeCase> {};

TEST_P(FrameType, Column5) {
  RecordFields f;
  f.layerFlags = GetParam().layerFlags;
  f.etherType = GetParam().etherType;
  EXPECT_EQ(Column(Formatted(f), 5), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    EthernetOrIpBits, FrameType,
    ::testing::Values(FrameTypeCase{0x08, 0x0800, "IP"}, FrameTypeCase{0x08, 0x0806, "ARP"},
                      FrameTypeCase{0x08, 0x8035, "RevARP"}, FrameTypeCase{0x08, 0x8191, "NetBEUI"},
                      FrameTypeCase{0x08, 0x86DD, "IPv6"}, FrameTypeCase{0x08, 0x88CC, "0x88cc"},
                      // "%#x" gives a zero no "0x".
                      FrameTypeCase{0x08, 0x0000, "0"}, FrameTypeCase{0x08, 0x0001, "0x1"},
                      FrameTypeCase{0x08, 0xFFFF, "0xffff"},
                      // The Ethernet type wins over the IP bits.
                      FrameTypeCase{0x08 | 0x10, 0x86DD, "IPv6"}, FrameTypeCase{0x08 | 0x20, 0x0806, "ARP"},
                      FrameTypeCase{0x10, 0x0806, "IP"}, FrameTypeCase{0x20, 0x0806, "IPv6"},
                      FrameTypeCase{0x10 | 0x20, 0, "IP"}, FrameTypeCase{0x40, 0x0800, ""},
                      FrameTypeCase{0x00, 0x0800, ""}));

// Columns 2 and 3.

TEST(LayerColumns, Column2FollowsBit0AndColumn3IsReversedOnBit1) {
  RecordFields f;
  f.layerFlags = 0x00;
  EXPECT_EQ(Formatted(f).substr(0, 9), "f, 0, 1, ");
  f.layerFlags = 0x01;
  EXPECT_EQ(Formatted(f).substr(0, 9), "f, 1, 1, ");
  f.layerFlags = 0x02;
  EXPECT_EQ(Formatted(f).substr(0, 9), "f, 0, 0, ");
  f.layerFlags = 0x03;
  EXPECT_EQ(Formatted(f).substr(0, 9), "f, 1, 0, ");
}

// Columns 4 and 19: the byte strings and their lengths.

TEST(ByteColumns, Column4PrintsAtMostEightBlankSeparatedBytes) {
  RecordFields f;
  f.column4Bytes = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xFE};
  f.column4Length = 0;
  EXPECT_EQ(Column(Formatted(f), 4), "");
  f.column4Length = 1;
  EXPECT_EQ(Column(Formatted(f), 4), "01");
  f.column4Length = 8;
  EXPECT_EQ(Column(Formatted(f), 4), "01 02 03 04 05 06 07 FE");
  f.column4Length = 12;
  EXPECT_EQ(Column(Formatted(f), 4), "01 02 03 04 05 06 07 FE");
  f.column4Length = 0xFFFFFFFF;
  EXPECT_EQ(Column(Formatted(f), 4), "01 02 03 04 05 06 07 FE");
}

TEST(ByteColumns, Column19PrintsAtMostSixteenBytesWithoutSeparator) {
  RecordFields f;
  f.column19Bytes = {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xAB, 0xAC, 0x0D, 0x0E, 0x0F};
  f.column19Length = 0;
  EXPECT_EQ(Column(Formatted(f), 19), "");
  f.column19Length = 1;
  EXPECT_EQ(Column(Formatted(f), 19), "A0");
  f.column19Length = 16;
  EXPECT_EQ(Column(Formatted(f), 19), "A0A1A2A3A4A5A6A7A8A9AAABAC0D0E0F");
  f.column19Length = 17;
  EXPECT_EQ(Column(Formatted(f), 19), "A0A1A2A3A4A5A6A7A8A9AAABAC0D0E0F");
  f.column19Length = 65535;
  EXPECT_EQ(Column(Formatted(f), 19), "A0A1A2A3A4A5A6A7A8A9AAABAC0D0E0F");
}

// Numeric columns at their limits.

TEST(NumericColumns, EventCodeMinus32768IsNegativeAndOfClassD) {
  RecordFields f;
  f.eventCode = -32768;
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 1), "d");
  EXPECT_EQ(Column(text, 16), "-32768");
}

TEST(NumericColumns, RecordClassFollowsTheSignOfEventCode) {
  RecordFields f;
  f.eventCode = -1;
  EXPECT_EQ(Column(Formatted(f), 1), "d");
  f.eventCode = 0;
  EXPECT_EQ(Column(Formatted(f), 1), "f");
  f.eventCode = 32767;
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 1), "f");
  EXPECT_EQ(Column(text, 16), "32767");
}

TEST(NumericColumns, SignedFieldsAtTheirLimits) {
  RecordFields f;
  f.column15Value = -32768;
  f.logId = INT_MIN;
  f.column18Value = INT_MAX;
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 15), "-32768");
  EXPECT_EQ(Column(text, 17), "-2147483648");
  EXPECT_EQ(Column(text, 18), "2147483647");
  f.column15Value = 32767;
  f.logId = INT_MAX;
  f.column18Value = INT_MIN;
  text = Formatted(f);
  EXPECT_EQ(Column(text, 15), "32767");
  EXPECT_EQ(Column(text, 17), "2147483647");
  EXPECT_EQ(Column(text, 18), "-2147483648");
}

TEST(NumericColumns, UnsignedFieldsAtTheirLargest) {
  RecordFields f;
  f.column14Value = 4294967295u;
  f.column20Value = 65535;
  f.column21Value = 4294967295u;
  f.column23Value = 65535;
  f.column24Value = 65535;
  f.recordFlags = 0x04;
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 14), "4294967295");
  EXPECT_EQ(Column(text, 20), "65535");
  EXPECT_EQ(Column(text, 21), "4294967295");
  EXPECT_EQ(Column(text, 23), "65535");
  EXPECT_EQ(Column(text, 24), "65535");
}

TEST(NumericColumns, BothTimeStampsAtTheirLargest) {
  RecordFields f;
  f.timeSeconds = 4294967295u;
  f.timeMicroseconds = 4294967295u;
  f.secondSeconds = 4294967295u;
  f.secondMicroseconds = 0;
  auto copy = CopyOf(f);
  std::string text;
  uint64_t firstTime = 0, secondTime = 0;
  FormatRecord(*copy, text, firstTime, secondTime);
  // 4294967295 * 1000000 + 4294967295: the microseconds are not cut to a
  // second.
  EXPECT_EQ(firstTime, 4294971589967295u);
  EXPECT_EQ(secondTime, 4294967295000000u);
}

// Columns 11 and 13.

TEST(Ports, ShowForTcpAndUdpAtTheirLimits) {
  RecordFields f;
  f.layerFlags = 0x10 | 0x40;
  f.ipv4Protocol = 17;
  f.sourcePort = 0;
  f.destinationPort = 65535;
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 11), "0");
  EXPECT_EQ(Column(text, 13), "65535");
  f.ipv4Protocol = 6;
  f.sourcePort = 65535;
  f.destinationPort = 0;
  text = Formatted(f);
  EXPECT_EQ(Column(text, 11), "65535");
  EXPECT_EQ(Column(text, 13), "0");
}

TEST(Ports, StayEmptyForOtherProtocolsAndWithoutTheTransportBit) {
  RecordFields f;
  f.layerFlags = 0x10 | 0x40;
  f.ipv4Protocol = 2;
  f.sourcePort = 1;
  f.destinationPort = 2;
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 11), "");
  EXPECT_EQ(Column(text, 13), "");
  f.layerFlags = 0x10;
  f.ipv4Protocol = 6;
  text = Formatted(f);
  EXPECT_EQ(Column(text, 11), "");
  EXPECT_EQ(Column(text, 13), "");
  f.layerFlags = 0x40;
  text = Formatted(f);
  EXPECT_EQ(Column(text, 11), "");
  EXPECT_EQ(Column(text, 13), "");
}

// Column 9 where the ICMP text meets the others.

TEST(Column9, IcmpTextAtItsLargestWithoutIpFlags) {
  RecordFields f;
  f.layerFlags = 0x10 | 0x40;
  f.ipv4Protocol = 1;
  f.icmp = true;
  f.icmpType = 255;
  f.icmpCode = 255;
  EXPECT_EQ(Column(Formatted(f), 9), "Type:255 Code:255");
}

TEST(Column9, IcmpTextNeedsTheTransportBitAndIPv4) {
  RecordFields f;
  f.layerFlags = 0x10;
  f.ipv4Protocol = 1;
  f.icmp = true;
  f.icmpType = 3;
  f.icmpCode = 1;
  EXPECT_EQ(Column(Formatted(f), 9), "");
  f.layerFlags = 0x20 | 0x40;
  f.ipv6NextHeader = 1;
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 8), "ICMP");
  EXPECT_EQ(Column(text, 9), "");
}

TEST(Column9, IcmpTextThenFullIpFlagsWithoutBlank) {
  RecordFields f;
  f.layerFlags = 0x10 | 0x40;
  f.ipv4Protocol = 1;
  f.eventCode = 110;
  f.ipv4TotalLength = 84;
  f.icmp = true;
  f.icmpType = 0;
  f.icmpCode = 0;
  EXPECT_EQ(Column(Formatted(f), 9), "Type:0 Code:0DF=0 MF=0 FragOffs=0 IPTotalLen=84");
}

// Column 22.

uint32_t PermutedByTheTable(uint16_t recordFlags) {
  // recordFlags bit -> column value: 3 -> 1, 4 -> 2, 5 -> 4, 1 -> 8, 2 -> 16, 0 -> 32.
  const uint16_t from[6] = {0x08, 0x10, 0x20, 0x02, 0x04, 0x01};
  const uint32_t to[6] = {1, 2, 4, 8, 16, 32};
  uint32_t sum = 0;
  for (int i = 0; i < 6; ++i)
    if (recordFlags & from[i]) sum += to[i];
  return sum;
}

TEST(Column22, EachRecordFlagAloneMovesToItsColumnBit) {
  RecordFields f;
  const std::pair<uint16_t, const char*> cases[] = {{0x01, "32"}, {0x02, "8"}, {0x04, "16"}, {0x08, "1"},
                                                    {0x10, "2"},  {0x20, "4"}, {0x3F, "63"}, {0x00, "0"}};
  for (auto [flags, expected] : cases) {
    f.recordFlags = flags;
    EXPECT_EQ(Column(Formatted(f), 22), expected) << "recordFlags " << flags;
  }
}

TEST(Column22, AllSixtyFourCombinations) {
  RecordFields f;
  for (uint16_t flags = 0; flags < 64; ++flags) {
    f.recordFlags = flags;
    EXPECT_EQ(Column(Formatted(f), 22), std::to_string(PermutedByTheTable(flags))) << "recordFlags " << flags;
  }
}

TEST(Column22, BitsAbove5DoNotShow) {
  RecordFields f;
  f.recordFlags = 0xFFC0;
  EXPECT_EQ(Column(Formatted(f), 22), "0");
}

// Column 24.

TEST(Column24, ShowsWithRecordFlagBit1OrBit2Only) {
  RecordFields f;
  f.column24Value = 77;
  const std::pair<uint16_t, const char*> cases[] = {{0x00, ""},   {0x02, "77"}, {0x04, "77"},
                                                    {0x06, "77"}, {0x39, ""},   {0xFFF9, ""}};
  for (auto [flags, expected] : cases) {
    f.recordFlags = flags;
    EXPECT_EQ(Column(Formatted(f), 24), expected) << "recordFlags " << flags;
  }
}

// Columns 25 and 26.

TEST(Payload, ShowsOnlyWithRecordFlagBit1) {
  RecordFields f;
  f.payloadLength = 2;
  f.recordFlags = 0x04;
  EXPECT_EQ(Column(Formatted(f, {0x12, 0x34}), 25), "");
  f.recordFlags = 0x02;
  EXPECT_EQ(Column(Formatted(f, {0x12, 0x34}), 25), "1234");
}

TEST(Payload, LengthZeroOneAndWhatIsSaidOfMore) {
  RecordFields f;
  f.recordFlags = 0x02;
  f.payloadLength = 0;
  EXPECT_EQ(Column(Formatted(f, {0xAB}), 25), "");
  f.payloadLength = 1;
  EXPECT_EQ(Column(Formatted(f, {0xAB, 0xCD}), 25), "AB");
}

// Two hex digits per byte, upper case, by a table of the test's own.
std::string HexOf(const std::vector<uint8_t>& bytes) {
  const char digits[] = "0123456789ABCDEF";
  std::string hex;
  for (uint8_t b : bytes) {
    hex += digits[b / 16];
    hex += digits[b % 16];
  }
  return hex;
}

TEST(Payload, LargestPayloadWithAllItsBytes) {
  std::vector<uint8_t> payload(65344);
  for (size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<uint8_t>(i * 7 + i / 256);
  RecordFields f;
  f.recordFlags = 0x02;
  f.payloadLength = 65344;
  CapturedLog log(6);
  std::string text = Formatted(f, payload);
  EXPECT_EQ(Column(text, 25), HexOf(payload));
  EXPECT_EQ(text.substr(text.size() - 2), ", ");
  EXPECT_EQ(log.Text(), "");
}

TEST(Payload, ShorterThanItsLengthSaysPrintsWhatCameAndLogsIt) {
  RecordFields f;
  f.recordFlags = 0x02;
  f.payloadLength = 10;
  f.logId = 7;
  CapturedLog log(1);
  EXPECT_EQ(Column(Formatted(f, {0x00, 0x01, 0x02, 0x0A}), 25), "0001020A");
  EXPECT_EQ(LogMessages(log.Text()),
            std::vector<std::string>{"FormatRecord: log id=7: payload length 10, 4 bytes came"});
}

TEST(Payload, MoreBytesThanItsLengthPrintsTheLength) {
  RecordFields f;
  f.recordFlags = 0x02;
  f.payloadLength = 2;
  CapturedLog log(6);
  EXPECT_EQ(Column(Formatted(f, {0x00, 0x01, 0x02, 0x0A}), 25), "0001");
  EXPECT_EQ(log.Text(), "");
}

TEST(Payload, MissingBytesOfAnUnshownPayloadAreNotLogged) {
  RecordFields f;
  f.recordFlags = 0x04;
  f.payloadLength = 10;
  CapturedLog log(6);
  EXPECT_EQ(Column(Formatted(f), 25), "");
  EXPECT_EQ(log.Text(), "");
}

TEST(Data, ShowsItsBytesFromThePointer) {
  const uint8_t data[] = {0x0A, 0x0B, 0xC0};
  RecordFields f;
  f.dataPointer = data;
  f.dataLength = 3;
  std::string text = Formatted(f);
  EXPECT_EQ(Column(text, 26), "0A0BC0");
  EXPECT_EQ(text.substr(text.size() - 10), ", , 0A0BC0");
  f.dataLength = 0;
  text = Formatted(f);
  EXPECT_EQ(text.substr(text.size() - 4), ", , ");
}

TEST(Data, LargestDataLength) {
  std::vector<uint8_t> data(65535);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(255 - i % 251);
  RecordFields f;
  f.dataPointer = data.data();
  f.dataLength = 65535;
  EXPECT_EQ(Column(Formatted(f), 26), HexOf(data));
}

TEST(Data, LengthWithoutPointerLeavesColumn26EmptyAndLogsIt) {
  RecordFields f;
  f.dataLength = 5;
  f.logId = 9;
  CapturedLog log(1);
  std::string text = Formatted(f);
  EXPECT_EQ(text, "f, 0, 1, , , , , , , , , , , 0, 0, 0, 9, 0, , 0, 0, 0, 0, , , ");
  EXPECT_EQ(LogMessages(log.Text()),
            std::vector<std::string>{"FormatRecord: log id=9: 5 data bytes without a pointer"});
}

TEST(Data, PayloadAndDataAreSeparatedByACommaAndABlank) {
  const uint8_t data[] = {0xFF};
  RecordFields f;
  f.recordFlags = 0x02;
  f.payloadLength = 1;
  f.dataPointer = data;
  f.dataLength = 1;
  std::string text = Formatted(f, {0x00});
  EXPECT_EQ(text, "f, 0, 1, , , , , , , , , , , 0, 0, 0, 0, 0, , 0, 0, 8, 0, 0, 00, FF");
}

TEST(FormatRecordText, ReplacesWhatTheStringHeld) {
  auto copy = CopyOf(RecordFields{});
  std::string text = "left over";
  uint64_t firstTime = 1, secondTime = 1;
  EXPECT_TRUE(FormatRecord(*copy, text, firstTime, secondTime));
  EXPECT_EQ(text, "f, 0, 1, , , , , , , , , , , 0, 0, 0, 0, 0, , 0, 0, 0, 0, , , ");
  EXPECT_EQ(firstTime, 0u);
  EXPECT_EQ(secondTime, 0u);
}

TEST(AppendHexText, UpperCaseDigitsWithoutSeparatorAppended) {
  const uint8_t bytes[] = {0x00, 0x09, 0x0A, 0x9F, 0xF0, 0xFF};
  std::string text = "x:";
  AppendHex(bytes, 6, text);
  EXPECT_EQ(text, "x:00090A9FF0FF");
  AppendHex(bytes, 0, text);
  EXPECT_EQ(text, "x:00090A9FF0FF");
}

}  // namespace
