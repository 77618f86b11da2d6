// The closing dump of a translation: every map logged at level 6 and freed.
#include <memory>
#include <string>
#include <vector>

#include "policy_test_support.h"

using Strings = std::vector<std::string>;

TEST(RawConfigMapList, NineteenMapsInDumpOrder) {
  RawConfig raw;
  Strings names;
  for (const RawConfigMapRef& map : RawConfigMaps(raw)) names.push_back(map.name);
  EXPECT_EQ(names, (Strings{"workingIfMap", "platformIfByMACMap", "driverIfByMACMap", "interfaceMap",
                            "interfaceByMacMap", "connectionMap", "packetFilterMap", "statefulMap",
                            "payloadFilterMap", "packetFilterAssignmentMap", "statefulAssignmentMap",
                            "payloadFilterAssignmentMap", "ipsMap", "ipListMap", "macListMap", "portListMap",
                            "scheduleMap", "loggingPolicyMap", "ruleContextMap"}));
  EXPECT_EQ(RawConfigMaps(raw)[18].map, &raw.ruleContextMap);
}

TEST_F(PolicyTest, DumpLogsEachMapEntryAndAttributeWithTheMapNumber) {
  s_Settings.DebugLevel = 6;
  RawConfig raw;
  InsertAttrMap(raw.interfaceMap, "1", std::make_unique<AttrMap>(AttrMap{{"mac", "aa"}, {"id", "1"}}));
  InsertAttrMap(raw.ruleContextMap, "50", std::make_unique<AttrMap>(AttrMap{{"id", "50"}}));
  DumpAndFreeRawConfigMaps(raw);
  EXPECT_EQ(LogMessages(), (Strings{"workingIfMap=>",
                                    "platformIfByMACMap=>",
                                    "driverIfByMACMap=>",
                                    "interfaceMap=>",
                                    "<attribute seperator>: key=1",
                                    "remove map(3): key(id), value(1)",
                                    "remove map(3): key(mac), value(aa)",
                                    "interfaceByMacMap=>",
                                    "connectionMap=>",
                                    "packetFilterMap=>",
                                    "statefulMap=>",
                                    "payloadFilterMap=>",
                                    "packetFilterAssignmentMap=>",
                                    "statefulAssignmentMap=>",
                                    "payloadFilterAssignmentMap=>",
                                    "ipsMap=>",
                                    "ipListMap=>",
                                    "macListMap=>",
                                    "portListMap=>",
                                    "scheduleMap=>",
                                    "loggingPolicyMap=>",
                                    "ruleContextMap=>",
                                    "<attribute seperator>: key=50",
                                    "remove map(18): key(id), value(50)"}));
  EXPECT_EQ(LogFunctions()[0], "DumpAndFreeRawConfigMaps");
}

TEST_F(PolicyTest, DumpFreesEveryMapAtAnyLogLevel) {
  s_Settings.DebugLevel = 0;
  RawConfig raw;
  ASSERT_EQ(LoadPolicyFile(raw, "sample_policy.xml"), 0);
  ASSERT_FALSE(raw.packetFilterMap.empty());
  DumpAndFreeRawConfigMaps(raw);
  for (const RawConfigMapRef& map : RawConfigMaps(raw)) EXPECT_TRUE(map.map->empty()) << map.name;
  EXPECT_TRUE(LogMessages().empty());
}
