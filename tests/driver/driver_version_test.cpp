// The driver's versions: packing, the running driver's version text, and
// what the two versions decide.
#include "driver/driver_version.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using Version = std::array<uint16_t, 4>;

Version V(int a, int b, int c, int d) {
  return {static_cast<uint16_t>(a), static_cast<uint16_t>(b), static_cast<uint16_t>(c), static_cast<uint16_t>(d)};
}

int64_t Pack(const Version& v) { return PackDriverVersion(v.data()); }

DriverVersionDecision Decide(const Version& installed, const Version& package, bool running) {
  return DecideDriverVersion(installed.data(), package.data(), running);
}

TEST(PackDriverVersion, MajorInTheTopSixteenBits) {
  EXPECT_EQ(Pack(V(5, 1, 0, 12)), (int64_t{5} << 48) | (int64_t{1} << 32) | 12);
  EXPECT_EQ(Pack(V(0, 0, 0, 0)), 0);
  EXPECT_EQ(Pack(V(0, 0, 1, 0)), 0x10000);
}

TEST(PackDriverVersion, FourthPartOf32768SetsEveryBitAboveIt) {
  EXPECT_EQ(Pack(V(5, 1, 0, 32768)), -32768);
  EXPECT_EQ(Pack(V(5, 1, 0, 65535)), -1);
}

TEST(PackDriverVersion, NegativeMajorMakesTheWholeNegative) {
  EXPECT_LT(Pack(V(32768, 0, 0, 0)), 0);
  EXPECT_EQ(Pack(V(65535, 65534, 65533, 65532)), -1 & ~int64_t{3});
}

TEST(PackDriverVersion, ThirdPartNegativeSetsTheMajorAndMinor) {
  EXPECT_EQ(Pack(V(5, 1, 32768, 0)), static_cast<int64_t>(0xFFFFFFFF80000000ull));
}

TEST(ParseRunningDriverVersion, FourNumbers) {
  Version v{};
  EXPECT_TRUE(ParseRunningDriverVersion("5.1.0.12", v.data()));
  EXPECT_EQ(v, V(5, 1, 0, 12));
}

TEST(ParseRunningDriverVersion, NegativeNumbersAreTaken) {
  Version v{};
  EXPECT_TRUE(ParseRunningDriverVersion("-1.-2.-3.-4", v.data()));
  EXPECT_EQ(v, V(-1, -2, -3, -4));
}

TEST(ParseRunningDriverVersion, ThreeNumbersAreNotAVersion) {
  Version v = V(9, 9, 9, 9);
  EXPECT_FALSE(ParseRunningDriverVersion("1.2.3", v.data()));
  EXPECT_EQ(v, V(9, 9, 9, 9));
}

TEST(ParseRunningDriverVersion, EmptyTextIsNotAVersion) {
  Version v{};
  EXPECT_FALSE(ParseRunningDriverVersion("", v.data()));
}

TEST(ParseRunningDriverVersion, TrailingTextIsIgnored) {
  Version v{};
  EXPECT_TRUE(ParseRunningDriverVersion("5.1.0.12 (checked build)", v.data()));
  EXPECT_EQ(v, V(5, 1, 0, 12));
  EXPECT_TRUE(ParseRunningDriverVersion("1.2.3.4.5", v.data()));
  EXPECT_EQ(v, V(1, 2, 3, 4));
}

TEST(ParseRunningDriverVersion, BlanksBeforeNumbersAreSkippedButNotBeforeDots) {
  Version v{};
  EXPECT_TRUE(ParseRunningDriverVersion(" 5. 1.\t0.+12", v.data()));
  EXPECT_EQ(v, V(5, 1, 0, 12));
  EXPECT_FALSE(ParseRunningDriverVersion("5 .1.0.12", v.data()));
}

TEST(ParseRunningDriverVersion, SignWithoutDigitsOrOtherSeparatorFails) {
  Version v{};
  EXPECT_FALSE(ParseRunningDriverVersion("5.-.0.12", v.data()));
  EXPECT_FALSE(ParseRunningDriverVersion("5,1,0,12", v.data()));
  EXPECT_FALSE(ParseRunningDriverVersion("5.1.0.", v.data()));
  EXPECT_FALSE(ParseRunningDriverVersion("v5.1.0.12", v.data()));
}

TEST(ParseRunningDriverVersion, PartsAreKeptInSixteenBits) {
  Version v{};
  EXPECT_TRUE(ParseRunningDriverVersion("65536.65537.70000.32768", v.data()));
  EXPECT_EQ(v, V(0, 1, 4464, 32768));
  // Beyond 32 bits the number wraps before it is cut.
  EXPECT_TRUE(ParseRunningDriverVersion("4294967297.0.0.0", v.data()));
  EXPECT_EQ(v, V(1, 0, 0, 0));
}

TEST(DecideDriverVersion, InstalledNewerIsKept) {
  EXPECT_EQ(Decide(V(5, 2, 0, 1), V(5, 1, 0, 12), true), DriverVersionDecision::KeepNewer);
  EXPECT_EQ(Decide(V(5, 2, 0, 1), V(5, 1, 0, 12), false), DriverVersionDecision::KeepNewer);
  EXPECT_EQ(Decide(V(5, 1, 0, 13), V(5, 1, 0, 12), false), DriverVersionDecision::KeepNewer);
}

TEST(DecideDriverVersion, SameVersionRunningIsKept) {
  EXPECT_EQ(Decide(V(5, 1, 0, 12), V(5, 1, 0, 12), true), DriverVersionDecision::KeepRunning);
}

TEST(DecideDriverVersion, SameVersionNotRunningFinishesThePartialInstall) {
  EXPECT_EQ(Decide(V(5, 1, 0, 12), V(5, 1, 0, 12), false), DriverVersionDecision::FinishPartialInstall);
}

TEST(DecideDriverVersion, InstalledOlderIsUpgraded) {
  EXPECT_EQ(Decide(V(5, 0, 9, 3), V(5, 1, 0, 12), true), DriverVersionDecision::Upgrade);
  // 4.65535.65535.65535 packs to -1: older than anything positive.
  EXPECT_EQ(Decide(V(4, 65535, 65535, 65535), V(5, 0, 0, 0), false), DriverVersionDecision::Upgrade);
  EXPECT_EQ(Decide(V(-1, -2, -3, -4), V(5, 1, 0, 12), true), DriverVersionDecision::Upgrade);
}

TEST(DecideDriverVersion, PackageWithFourthPartOf32768NeverReplacesAPositiveVersion) {
  EXPECT_EQ(Decide(V(5, 1, 0, 12), V(5, 1, 0, 32768), true), DriverVersionDecision::KeepNewer);
  EXPECT_EQ(Decide(V(0, 0, 0, 1), V(5, 1, 0, 32768), false), DriverVersionDecision::KeepNewer);
}

TEST(UninstallFailureIsFatal, OnlyANegativeResultWithTheDriverRunning) {
  EXPECT_TRUE(UninstallFailureIsFatal(static_cast<int32_t>(0x80004005u), true));
  EXPECT_FALSE(UninstallFailureIsFatal(static_cast<int32_t>(0x80004005u), false));
  EXPECT_FALSE(UninstallFailureIsFatal(1, true));
  EXPECT_FALSE(UninstallFailureIsFatal(0x0004A020, true));
  EXPECT_FALSE(UninstallFailureIsFatal(0, true));
}

}  // namespace
