// AppendProtocolName: column 8, from the IPv4 protocol or the IPv6 next
// header.
#include <gtest/gtest.h>

#include "eventlog/record_appenders.h"
#include "record_text.h"

namespace {

struct ProtocolCase {
  uint8_t number;
  const char* name;
};

class ProtocolName : public ::testing::TestWithParam<ProtocolCase> {};

TEST_P(ProtocolName, FromTheIPv4ProtocolByte) {
  RecordFields f;
  f.layerFlags = 0x10;
  f.ipv4Protocol = GetParam().number;
  EXPECT_EQ(AppendedBy(AppendProtocolName, f), GetParam().name);
}

TEST_P(ProtocolName, FromTheIPv6NextHeaderByTheSameTable) {
  RecordFields f;
  f.layerFlags = 0x20;
  f.ipv6NextHeader = GetParam().number;
  EXPECT_EQ(AppendedBy(AppendProtocolName, f), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    NamedAndNumbered, ProtocolName,
    ::testing::Values(ProtocolCase{1, "ICMP"}, ProtocolCase{2, "IGMP"}, ProtocolCase{3, "GGP"}, ProtocolCase{6, "TCP"},
                      ProtocolCase{12, "PUP"}, ProtocolCase{17, "UDP"}, ProtocolCase{22, "IDP"},
                      ProtocolCase{58, "ICMPv6"}, ProtocolCase{77, "ND"}, ProtocolCase{0, "0"}, ProtocolCase{4, "4"},
                      ProtocolCase{78, "78"}, ProtocolCase{255, "255"}));

TEST(ProtocolNameOfIPv6, ExtensionHeadersShowAsTheirNumbers) {
  RecordFields f;
  f.layerFlags = 0x20;
  const std::pair<uint8_t, const char*> headers[] = {
      {0, "0"}, {43, "43"}, {44, "44"}, {50, "50"}, {51, "51"}, {59, "59"}, {60, "60"}, {135, "135"}};
  for (auto [number, expected] : headers) {
    f.ipv6NextHeader = number;
    EXPECT_EQ(AppendedBy(AppendProtocolName, f), expected) << "next header " << int{number};
  }
}

TEST(ProtocolNameOfBothHeaders, TheIPv4ByteWins) {
  RecordFields f;
  f.layerFlags = 0x10 | 0x20;
  f.ipv4Protocol = 17;
  EXPECT_EQ(AppendedBy(AppendProtocolName, f), "UDP");
}

TEST(ProtocolNameWithoutIpHeader, StaysEmpty) {
  RecordFields f;
  f.layerFlags = 0x08 | 0x40;
  f.ipv4Protocol = 6;
  EXPECT_EQ(AppendedBy(AppendProtocolName, f), "");
}

}  // namespace
