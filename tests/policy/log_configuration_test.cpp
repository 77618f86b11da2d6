// LogConfiguration and PacketFilterLog: the event log's cache parameters,
// and the failure of a bad number.
#include <string>
#include <vector>

#include "eventlog/cache_parameters.h"
#include "policy_test_support.h"

using Strings = std::vector<std::string>;

namespace {

std::string PacketFilterLog(const std::string& attributes) {
  return PolicyDocument("<AgentConfiguration><LogConfiguration><PacketFilterLog " + attributes +
                        "/></LogConfiguration></AgentConfiguration>");
}

}  // namespace

class CacheSizeClamp : public PolicyTest {
 protected:
  uint64_t CacheSizeFor(const char* text) {
    RawConfig raw;
    EXPECT_EQ(LoadPolicyText(raw, PacketFilterLog(std::string("cacheSize=\"") + text + "\"")), 0);
    return s_LogRecordMapMaxSize;
  }
};

TEST_F(CacheSizeClamp, ZeroBecomesOne) { EXPECT_EQ(CacheSizeFor("0"), 1u); }
TEST_F(CacheSizeClamp, AboveTheBoundBecomesTheBound) { EXPECT_EQ(CacheSizeFor("1025"), 1024u); }
TEST_F(CacheSizeClamp, TheBoundStays) { EXPECT_EQ(CacheSizeFor("1024"), 1024u); }
TEST_F(CacheSizeClamp, NegativeTakenUnsignedBecomesTheBound) { EXPECT_EQ(CacheSizeFor("-1"), 1024u); }

TEST_F(PolicyTest, FlushIntervalBelowOneSecondBecomesOneSecond) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PacketFilterLog("logFlushInterval=\"999\"")), 0);
  EXPECT_EQ(s_LogFlushLogInterval, 1000);
  // Defaults of the others, clamped all the same.
  EXPECT_EQ(s_LogRecordMapMaxSize, 128u);
}

TEST_F(PolicyTest, FlushIntervalOfOneSecondStays) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PacketFilterLog("logFlushInterval=\"1000\"")), 0);
  EXPECT_EQ(s_LogFlushLogInterval, 1000);
}

TEST_F(PolicyTest, WithoutPacketFilterLogTheDefaultsStand) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<AgentConfiguration><LogConfiguration/></AgentConfiguration>")), 0);
  EXPECT_EQ(s_LogRecordMapMaxSize, 128u);
  EXPECT_EQ(s_LogFlushLogInterval, 60000);
}

TEST_F(PolicyTest, SizeAndKeepReachTheRotationSettings) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PacketFilterLog("size=\"512\" keep=\"3\"")), 0);
  EXPECT_EQ(s_LogFileSizeKB, 512u);
  EXPECT_EQ(s_NumberOfOldCopies, 2);
}

TEST_F(PolicyTest, LaterPacketFilterLogOverridesAnEarlierOne) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<AgentConfiguration><LogConfiguration>"
                                               "<PacketFilterLog cacheSize=\"10\" logFlushInterval=\"5000\"/>"
                                               "<PacketFilterLog cacheSize=\"20\"/>"
                                               "</LogConfiguration></AgentConfiguration>")),
            0);
  EXPECT_EQ(s_LogRecordMapMaxSize, 20u);
  EXPECT_EQ(s_LogFlushLogInterval, 5000);
}

TEST_F(PolicyTest, EachLogAttributeIsLoggedAtLevelSix) {
  s_Settings.DebugLevel = 6;
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<AgentConfiguration>"
                                               "<LogConfiguration logInspectionStorageClip=\"4\" other=\"x\">"
                                               "<PacketFilterLog cacheSize=\"64\" unknown=\"y\"/>"
                                               "</LogConfiguration></AgentConfiguration>")),
            0);
  EXPECT_EQ(LogMessages(), (Strings{"LogConfiguration: name(logInspectionStorageClip), value(4)",
                                    "LogConfiguration: name(other), value(x)",
                                    "PacketFilterLog: name(cacheSize), value(64)",
                                    "PacketFilterLog: name(unknown), value(y)",
                                    "SetCacheParameters: s_LogFileSizeKB(1024), s_NumberOfOldCopies(7), "
                                    "s_LogRecordMapMaxSize(64), s_LogFlushLogInterval(60000)"}));
}

TEST_F(PolicyTest, BadCacheSizeFailsTheLoadAndSaysWhere) {
  s_Settings.DebugLevel = 1;
  RawConfig raw;
  EXPECT_EQ(LoadPolicyText(raw, PacketFilterLog("cacheSize=\"abc\"")), -1);
  EXPECT_EQ(LogMessages(),
            Strings{"PacketFilterLog: bad number in attribute(cacheSize), value(abc): invalid stoi argument"});
  // The cache parameters are not set by a failed load.
  EXPECT_EQ(s_LogRecordMapMaxSize, 128u);
}

TEST_F(PolicyTest, OutOfRangeClipFailsTheLoadBeforeAnythingIsRead) {
  s_Settings.DebugLevel = 1;
  s_LogFlushLogInterval = 5;
  RawConfig raw;
  EXPECT_EQ(LoadPolicyText(raw, PolicyDocument("<AgentConfiguration>"
                                               "<LogConfiguration logInspectionSyslogClip=\"4294967296\"/>"
                                               "<Features><Feature name=\"FW\" state=\"1\"/></Features>"
                                               "</AgentConfiguration>")),
            -1);
  EXPECT_EQ(LogMessages(), Strings{"LogConfiguration: bad number in attribute(logInspectionSyslogClip), "
                                   "value(4294967296): stoi argument out of range"});
  EXPECT_EQ(raw.FW, 0);
  EXPECT_TRUE(raw.systemSettings.empty());
  EXPECT_EQ(s_LogFlushLogInterval, 5);
}

TEST_F(PolicyTest, BadNumberInAnUnreadAttributeDoesNoHarm) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<AgentConfiguration><LogConfiguration logLevel=\"high\">"
                                               "<PacketFilterLog colour=\"blue\"/>"
                                               "</LogConfiguration></AgentConfiguration>")),
            0);
}

TEST_F(PolicyTest, BadNumberIsLoggedAsAnErrorOnly) {
  s_Settings.DebugLevel = 0;
  RawConfig raw;
  EXPECT_EQ(LoadPolicyText(raw, PacketFilterLog("keep=\"\"")), -1);
  EXPECT_TRUE(LogMessages().empty());
}
