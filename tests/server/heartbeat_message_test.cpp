#include "server/heartbeat_message.h"

#include <gtest/gtest.h>

namespace {

HeartBeatHost Windows10Host() {
  HeartBeatHost host;
  host.major = 10;
  host.minor = 0;
  host.build = 19045;
  host.servicePack = "";
  host.processorArchitecture = 9;
  host.suiteMask = 256;
  host.productType = 1;
  host.installerVersion = "12.0.3.7";
  host.hostname = "WKS-0042";
  return host;
}

TEST(LongHeartBeat, CarriesHostTypeVersionsNameAndPolicy) {
  EXPECT_EQ(FormatLongHeartBeat(Windows10Host(), L"Office policy v7"),
            "{\"name\": \"HeartBeat\", \"hostType\": \"Windows;10;0;19045;;x86_64;256;1\", "
            "\"mlaInstallerVersion\": \"12.0.3.7\", \"mlaVersion\": \"(12.0.0.1026)\", \"hostname\": \"WKS-0042\", "
            "\"policyInfo\": \"Office policy v7\"}");
}

TEST(LongHeartBeat, BeforeAnyDeploymentPolicyInfoIsEmpty) {
  HeartBeatHost host = Windows10Host();
  host.installerVersion = "";
  host.hostname = "";
  host.servicePack = "Service Pack 1";
  EXPECT_EQ(FormatLongHeartBeat(host, L""),
            "{\"name\": \"HeartBeat\", \"hostType\": \"Windows;10;0;19045;Service Pack 1;x86_64;256;1\", "
            "\"mlaInstallerVersion\": \"\", \"mlaVersion\": \"(12.0.0.1026)\", \"hostname\": \"\", "
            "\"policyInfo\": \"\"}");
}

TEST(LongHeartBeat, QuoteInPolicyGoesInUnescaped) {
  std::string message = FormatLongHeartBeat(Windows10Host(), L"a\"b\\c");
  EXPECT_NE(message.find("\"policyInfo\": \"a\"b\\c\"}"), std::string::npos) << message;
}

TEST(ShortHeartBeat, CarriesThePolicyOnly) {
  EXPECT_EQ(FormatShortHeartBeat(L"Office policy v7"), "{\"name\": \"HeartBeat\", \"policyInfo\": \"Office policy v7\"}");
}

TEST(ShortHeartBeat, BeforeAnyDeploymentPolicyInfoIsEmpty) {
  EXPECT_EQ(FormatShortHeartBeat(L""), "{\"name\": \"HeartBeat\", \"policyInfo\": \"\"}");
}

TEST(ShortHeartBeat, PolicyIsNarrowedByTheRuntimesConversion) {
  // Latin-1 units come out as their byte, anything beyond as '?'.
  EXPECT_EQ(FormatShortHeartBeat(L"caf\u00e9 \u4e2d"), "{\"name\": \"HeartBeat\", \"policyInfo\": \"caf\xe9 ?\"}");
}

TEST(ProcessorArchitecture, NamesTheThreeKnownValues) {
  EXPECT_STREQ(ProcessorArchitectureName(0), "i386");
  EXPECT_STREQ(ProcessorArchitectureName(6), "ia64");
  EXPECT_STREQ(ProcessorArchitectureName(9), "x86_64");
}

TEST(ProcessorArchitecture, TwelveIsUnknown) { EXPECT_STREQ(ProcessorArchitectureName(12), "unknown"); }

TEST(LongHeartBeat, ArchitectureTwelveIsReportedUnknown) {
  HeartBeatHost host = Windows10Host();
  host.processorArchitecture = 12;
  EXPECT_NE(FormatLongHeartBeat(host, L"").find("\"Windows;10;0;19045;;unknown;256;1\""), std::string::npos);
}

TEST(InstallerVersion, FourPartsWithDots) {
  const uint32_t version[4] = {12, 0, 3, 7};
  EXPECT_EQ(FormatInstallerVersion(version), "12.0.3.7");
}

TEST(InstallerVersion, CutToNineteenCharacters) {
  const uint32_t version[4] = {65535, 65535, 65535, 65535};
  EXPECT_EQ(FormatInstallerVersion(version), "65535.65535.65535.6");
}

TEST(HeartBeatWaits, RapidValueIsTheNextTimeout) {
  HeartBeatWait wait = NextHeartBeatWait(5000, 600000, true);
  EXPECT_TRUE(wait.timerInUse);
  EXPECT_EQ(wait.timeout, 5000u);
}

TEST(HeartBeatWaits, WithoutRapidTheTimerRunsOnlyWhenScheduleIsEnabled) {
  HeartBeatWait disabled = NextHeartBeatWait(0, 600000, true);
  EXPECT_FALSE(disabled.timerInUse);
  HeartBeatWait enabled = NextHeartBeatWait(0, 600000, false);
  EXPECT_TRUE(enabled.timerInUse);
  EXPECT_EQ(enabled.timeout, 600000u);
}

TEST(HeartBeatWaits, RapidLongerThanTheTimerIsTooLong) {
  EXPECT_TRUE(RapidHeartBeatTooLong(600001, 600000));
  EXPECT_FALSE(RapidHeartBeatTooLong(600000, 600000));
}

TEST(HeartBeatWaits, NegativeRapidReadAsUnsignedIsTooLong) {
  EXPECT_TRUE(RapidHeartBeatTooLong(static_cast<uint32_t>(-1), 600000));
}

TEST(HeartBeatWaits, TimeoutReasons) {
  EXPECT_STREQ(TimeoutReason(false, 0), "heartbeat");
  EXPECT_STREQ(TimeoutReason(false, 5000), "rapidHeartbeat");
  EXPECT_STREQ(TimeoutReason(true, 5000), "retry");
}

}  // namespace
