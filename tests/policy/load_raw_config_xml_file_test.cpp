// LoadRawConfigXmlFile: what each element of the manager's policy becomes
// in RawConfig. Expectations are written from the policy's rules.
#include <algorithm>
#include <string>
#include <vector>

#include "eventlog/cache_parameters.h"
#include "policy/load_raw_config_xml_file.h"
#include "policy_test_support.h"

using Strings = std::vector<std::string>;

class SamplePolicy : public PolicyTest {
 protected:
  void SetUp() override {
    PolicyTest::SetUp();
    ASSERT_EQ(LoadPolicyFile(raw, "sample_policy.xml"), 0);
  }
  RawConfig raw;
};

TEST_F(SamplePolicy, FeaturesSetOnlyTheFlagsThatAreOn) {
  EXPECT_EQ(raw.FW, 1);
  EXPECT_EQ(raw.DPI, 0);
  EXPECT_EQ(raw.WQX, 1);
}

TEST_F(SamplePolicy, SystemSettingsHoldTheThreeThenTheFilterSettings) {
  // vulnerabilityShieldPassiveMode of PacketFilterSetting comes too late to
  // change the default; "extra" of AgentConfiguration is no setting.
  EXPECT_EQ(raw.systemSettings, (AttrMap{{"allowEncryptedDataCollection", "true"},
                                         {"defaultAction", "allow"},
                                         {"maxPayload", "1500"},
                                         {"networkDriverGlobalDetectOnlyMode", "false"},
                                         {"vulnerabilityShieldPassiveMode", "false"}}));
}

TEST_F(SamplePolicy, PacketFilterLogSetsTheCacheParameters) {
  EXPECT_EQ(s_LogFileSizeKB, 2048u);
  EXPECT_EQ(s_NumberOfOldCopies, 4);
  EXPECT_EQ(s_LogRecordMapMaxSize, 256u);
  EXPECT_EQ(s_LogFlushLogInterval, 30000);
}

TEST_F(SamplePolicy, PacketFilterCarriesItsChildrenAsPrefixedAttributes) {
  ASSERT_EQ(Keys(raw.packetFilterMap), Strings{"100"});
  EXPECT_EQ(*raw.packetFilterMap.at("100"), (AttrMap{{"DestinationInfo.ip", "10.0.0.2"},
                                                     {"SourceInfo.ip", "10.0.0.1"},
                                                     {"SourceInfo.port", "80"},
                                                     {"action", "deny"},
                                                     {"id", "100"},
                                                     {"packetDirection", "in"}}));
}

TEST_F(SamplePolicy, SecurityProfilePacketFilterAssignmentBeatsHostFilters) {
  ASSERT_EQ(Keys(raw.packetFilterAssignmentMap), Strings{"100"});
  EXPECT_EQ(*raw.packetFilterAssignmentMap.at("100"), (AttrMap{{"all", "true"}, {"packetFilterId", "100"}}));
}

TEST_F(SamplePolicy, StatefulFilterByIdWithItsAttributes) {
  ASSERT_EQ(Keys(raw.statefulMap), Strings{"7"});
  EXPECT_EQ(*raw.statefulMap.at("7"), (AttrMap{{"id", "7"}, {"name", "Default"}, {"tcpState", "on"}}));
}

TEST_F(SamplePolicy, StatefulAssignmentsCountHostFiltersFirst) {
  ASSERT_EQ(Keys(raw.statefulAssignmentMap), (Strings{"7.1", "7.2"}));
  EXPECT_EQ(*raw.statefulAssignmentMap.at("7.1"), (AttrMap{{"all", "true"}, {"statefulFilterId", "7"}}));
  EXPECT_EQ(*raw.statefulAssignmentMap.at("7.2"), (AttrMap{{"interfaceId", "1"}, {"statefulFilterId", "7"}}));
}

TEST_F(SamplePolicy, ConnectionTypeTakesItsFirstAddressInfoOnly) {
  ASSERT_EQ(Keys(raw.connectionMap), Strings{"3"});
  EXPECT_EQ(*raw.connectionMap.at("3"), (AttrMap{{"AddressInfo.portListId", "12"},
                                                 {"AddressInfo.portType", "list"},
                                                 {"direction", "outbound"},
                                                 {"id", "3"},
                                                 {"name", "Web"},
                                                 {"protocol", "6"}}));
}

TEST_F(SamplePolicy, PayloadFilterTakesAttributesButNoChildren) {
  ASSERT_EQ(Keys(raw.payloadFilterMap), Strings{"2001"});
  EXPECT_EQ(*raw.payloadFilterMap.at("2001"), (AttrMap{{"connectionTypeId", "3"},
                                                       {"id", "2001"},
                                                       {"name", "Rule A"},
                                                       {"priority", "3"},
                                                       {"rules", "PHJ1bGUvPg=="}}));
}

TEST_F(SamplePolicy, HostFiltersPayloadAssignmentBeatsSecurityProfile) {
  ASSERT_EQ(Keys(raw.payloadFilterAssignmentMap), Strings{"2001"});
  EXPECT_EQ(*raw.payloadFilterAssignmentMap.at("2001"), (AttrMap{{"interfaceId", "1"}, {"payloadFilter2Id", "2001"}}));
}

TEST_F(SamplePolicy, InterfaceByIdAndByLowerCaseMacWithNumberedIps) {
  AttrMap expected{{"IPs.IP.0.id", "11"},
                   {"IPs.IP.0.ipAddress", "192.168.1.10"},
                   {"IPs.IP.1.id", "12"},
                   {"IPs.IP.1.ipAddress", "192.168.1.11"},
                   {"id", "1"},
                   {"mac", "00:1a:2b:3c:4d:5e"},
                   {"name", "LAN"},
                   {"typeId", "1"}};
  ASSERT_EQ(Keys(raw.interfaceMap), Strings{"1"});
  EXPECT_EQ(*raw.interfaceMap.at("1"), expected);
  ASSERT_EQ(Keys(raw.interfaceByMacMap), Strings{"00:1a:2b:3c:4d:5e"});
  EXPECT_EQ(*raw.interfaceByMacMap.at("00:1a:2b:3c:4d:5e"), expected);
  EXPECT_NE(raw.interfaceMap.at("1").get(), raw.interfaceByMacMap.at("00:1a:2b:3c:4d:5e").get());
}

TEST_F(SamplePolicy, IpsOfTheFirstInterfaceById) {
  ASSERT_EQ(Keys(raw.ipsMap), (Strings{"11", "12"}));
  EXPECT_EQ(*raw.ipsMap.at("11"), (AttrMap{{"id", "11"}, {"ipAddress", "192.168.1.10"}}));
  EXPECT_EQ(*raw.ipsMap.at("12"), (AttrMap{{"id", "12"}, {"ipAddress", "192.168.1.11"}}));
}

TEST_F(SamplePolicy, RuleContextListsScheduleAndLoggingPolicyById) {
  EXPECT_EQ(*raw.ruleContextMap.at("50"), (AttrMap{{"id", "50"}, {"name", "Ctx"}, {"ruleCode", "Y29kZQ=="}}));
  EXPECT_EQ(*raw.ipListMap.at("20"), (AttrMap{{"id", "20"}, {"items", "10.0.0.1"}, {"name", "Servers"}}));
  EXPECT_EQ(*raw.macListMap.at("21"), (AttrMap{{"id", "21"}, {"items", "00:11:22:33:44:55"}}));
  EXPECT_EQ(*raw.portListMap.at("12"), (AttrMap{{"id", "12"}, {"items", "80,443"}}));
  EXPECT_EQ(*raw.scheduleMap.at("30"), (AttrMap{{"hourOfWeek", "FFFF"}, {"id", "30"}}));
  EXPECT_EQ(*raw.loggingPolicyMap.at("40"), (AttrMap{{"id", "40"}, {"name", "Log all"}}));
}

TEST_F(SamplePolicy, InterfaceMapsOfThePlatformAndDriverStayEmpty) {
  EXPECT_TRUE(raw.workingIfMap.empty());
  EXPECT_TRUE(raw.platformIfByMACMap.empty());
  EXPECT_TRUE(raw.driverIfByMACMap.empty());
  EXPECT_TRUE(raw.filterInterfaceIdMap.empty());
  EXPECT_TRUE(raw.filterIpIdMap.empty());
}

TEST_F(PolicyTest, EmptyDocumentGivesEmptyMapsAndDefaultCacheParameters) {
  s_LogRecordMapMaxSize = 5;
  s_LogFlushLogInterval = 5;
  s_Settings.DebugLevel = 1;
  RawConfig raw;
  ASSERT_EQ(LoadPolicyFile(raw, "empty_root.xml"), 0);
  EXPECT_EQ(raw.FW, 0);
  EXPECT_EQ(raw.DPI, 0);
  EXPECT_EQ(raw.WQX, 0);
  EXPECT_TRUE(raw.systemSettings.empty());
  for (const RawConfigMapRef& map : RawConfigMaps(raw)) EXPECT_TRUE(map.map->empty()) << map.name;
  // SetCacheParameters(0, 0, 128, 60000): the zeros leave size and copies.
  EXPECT_EQ(s_LogFileSizeKB, 1024u);
  EXPECT_EQ(s_NumberOfOldCopies, 7);
  EXPECT_EQ(s_LogRecordMapMaxSize, 128u);
  EXPECT_EQ(s_LogFlushLogInterval, 60000);
  EXPECT_EQ(LogMessages(), Strings{"SetCacheParameters: s_LogFileSizeKB(1024), s_NumberOfOldCopies(7), "
                                   "s_LogRecordMapMaxSize(128), s_LogFlushLogInterval(60000)"});
}

TEST_F(PolicyTest, DocumentWithoutTheRootPathStillSucceeds) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, "<Other><Request><SecurityConfiguration><IPLists><IPList id=\"1\"/></IPLists>"
                                "</SecurityConfiguration></Request></Other>"),
            0);
  EXPECT_TRUE(raw.ipListMap.empty());
  EXPECT_EQ(s_LogRecordMapMaxSize, 128u);
}

TEST_F(PolicyTest, BrokenXmlFailsWithLoadFileMessage) {
  s_Settings.DebugLevel = 1;
  RawConfig raw;
  EXPECT_EQ(LoadPolicyFile(raw, "malformed.xml"), -1);
  EXPECT_EQ(LogMessages(), Strings{"XML LoadFile failed"});
  EXPECT_EQ(LogFunctions(), Strings{"LoadRawConfigXmlFile"});
}

TEST_F(PolicyTest, EmptyFileFailsWithLoadFileMessage) {
  s_Settings.DebugLevel = 1;
  RawConfig raw;
  EXPECT_EQ(LoadPolicyText(raw, ""), -1);
  EXPECT_EQ(LogMessages(), Strings{"XML LoadFile failed"});
}

TEST_F(PolicyTest, AssignmentDisabledByExactTrueIsDropped) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<HostFilters><PacketFilterAssignments>"
                                               "<PacketFilterAssignment packetFilterId=\"5\" disabled=\"true\"/>"
                                               "</PacketFilterAssignments></HostFilters>")),
            0);
  EXPECT_TRUE(raw.packetFilterAssignmentMap.empty());
}

TEST_F(PolicyTest, AssignmentDisabledByCapitalTrueIsKeptWithItsAttribute) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<HostFilters><PacketFilterAssignments>"
                                               "<PacketFilterAssignment packetFilterId=\"5\" disabled=\"True\"/>"
                                               "</PacketFilterAssignments></HostFilters>")),
            0);
  ASSERT_EQ(Keys(raw.packetFilterAssignmentMap), Strings{"5"});
  EXPECT_EQ(*raw.packetFilterAssignmentMap.at("5"), (AttrMap{{"disabled", "True"}, {"packetFilterId", "5"}}));
}

TEST_F(PolicyTest, FeatureStateOtherThanExactlyOneIsOff) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<AgentConfiguration><Features>"
                                               "<Feature name=\"FW\" state=\"11\"/>"
                                               "<Feature name=\"DPI\" state=\"1 \"/>"
                                               "<Feature name=\"WQX\"/>"
                                               "</Features></AgentConfiguration>")),
            0);
  EXPECT_EQ(raw.FW, 0);
  EXPECT_EQ(raw.DPI, 0);
  EXPECT_EQ(raw.WQX, 0);
}

TEST_F(PolicyTest, FeatureFlagOnceSetIsNeverCleared) {
  s_Settings.DebugLevel = 5;
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<AgentConfiguration><Features>"
                                               "<Feature name=\"DPI\" state=\"1\"/>"
                                               "<Feature name=\"DPI\" state=\"0\"/>"
                                               "<Feature name=\"fw\" state=\"1\"/>"
                                               "</Features></AgentConfiguration>")),
            0);
  EXPECT_EQ(raw.FW, 0);
  EXPECT_EQ(raw.DPI, 1);
  Strings messages = LogMessages();
  EXPECT_EQ(std::count(messages.begin(), messages.end(), "DPI is enabled"), 1);
  EXPECT_EQ(std::count(messages.begin(), messages.end(), "FW is enabled"), 0);
}

TEST_F(PolicyTest, StatefulAssignmentsOfOneFilterGetOrdinalsAndDroppedOnesUseNone) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyFile(raw, "stateful_ordinals.xml"), 0);
  ASSERT_EQ(Keys(raw.statefulAssignmentMap), (Strings{"7.1", "7.2"}));
  EXPECT_EQ(raw.statefulAssignmentMap.at("7.1")->at("interfaceId"), "1");
  EXPECT_EQ(raw.statefulAssignmentMap.at("7.2")->at("interfaceId"), "2");
}

TEST_F(PolicyTest, InterfaceMacIsStoredInLowerCase) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyFile(raw, "two_interfaces.xml"), 0);
  ASSERT_EQ(Keys(raw.interfaceByMacMap), Strings{"aa:bb:cc:dd:ee:ff"});
  EXPECT_EQ(raw.interfaceMap.at("1")->at("mac"), "aa:bb:cc:dd:ee:ff");
}

TEST_F(PolicyTest, IpOfASecondInterfaceStaysOutOfIpsMap) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyFile(raw, "two_interfaces.xml"), 0);
  EXPECT_EQ(Keys(raw.ipsMap), Strings{"11"});
  EXPECT_EQ(raw.interfaceMap.at("2")->at("IPs.IP.0.id"), "21");
}

TEST_F(PolicyTest, InterfaceWithoutMacEntersInterfaceMapOnly) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyFile(raw, "two_interfaces.xml"), 0);
  EXPECT_EQ(Keys(raw.interfaceMap), (Strings{"1", "2"}));
  EXPECT_EQ(*raw.interfaceMap.at("2"),
            (AttrMap{{"IPs.IP.0.id", "21"}, {"IPs.IP.0.ipAddress", "10.2.2.2"}, {"id", "2"}, {"name", "no mac"}}));
  EXPECT_EQ(Keys(raw.interfaceByMacMap), Strings{"aa:bb:cc:dd:ee:ff"});
}

TEST_F(PolicyTest, InterfaceWithMacButNoIdEntersInterfaceByMacMapOnly) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<Interfaces><Interface mac=\"0A:0B:0C:0D:0E:0F\"/></Interfaces>")), 0);
  EXPECT_TRUE(raw.interfaceMap.empty());
  EXPECT_EQ(Keys(raw.interfaceByMacMap), Strings{"0a:0b:0c:0d:0e:0f"});
}

TEST_F(PolicyTest, ElementWithoutItsKeyIsDropped) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<PacketFilters><PacketFilter name=\"no id\"/></PacketFilters>"
                                               "<PortLists><PortList items=\"80\"/></PortLists>")),
            0);
  EXPECT_TRUE(raw.packetFilterMap.empty());
  EXPECT_TRUE(raw.portListMap.empty());
}

TEST_F(PolicyTest, DuplicateIdKeepsTheFirstEntry) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<IPLists><IPList id=\"4\" items=\"first\"/>"
                                               "<IPList id=\"4\" items=\"second\" extra=\"x\"/></IPLists>")),
            0);
  ASSERT_EQ(Keys(raw.ipListMap), Strings{"4"});
  EXPECT_EQ(*raw.ipListMap.at("4"), (AttrMap{{"id", "4"}, {"items", "first"}}));
}

TEST_F(PolicyTest, MapKeysFollowByteOrderSoTenComesBeforeNine) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<Schedules><Schedule id=\"9\"/><Schedule id=\"10\"/>"
                                               "<Schedule id=\"100\"/><Schedule id=\"1\"/></Schedules>")),
            0);
  EXPECT_EQ(Keys(raw.scheduleMap), (Strings{"1", "10", "100", "9"}));
}

TEST_F(PolicyTest, ElementsAfterTheFirstOfTheNameAreTakenWhateverTheirName) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<MacLists><Other id=\"1\"/><MacList id=\"2\"/>"
                                               "<NotAList id=\"3\"/></MacLists>")),
            0);
  EXPECT_EQ(Keys(raw.macListMap), (Strings{"2", "3"}));
}

TEST_F(PolicyTest, OnlyTheFirstListContainerIsRead) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<PortLists><PortList id=\"1\"/></PortLists>"
                                               "<PortLists><PortList id=\"2\"/></PortLists>")),
            0);
  EXPECT_EQ(Keys(raw.portListMap), Strings{"1"});
}

TEST_F(PolicyTest, PacketFilterSettingTakesTheAttributesOfEveryElementBehindIt) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<AgentConfiguration networkDriverGlobalDetectOnlyMode=\"true\">"
                                               "<PacketFilterSetting a=\"1\" allowEncryptedDataCollection=\"yes\"/>"
                                               "<Unrelated b=\"2\"/>"
                                               "</AgentConfiguration>")),
            0);
  EXPECT_EQ(raw.systemSettings, (AttrMap{{"a", "1"},
                                         {"allowEncryptedDataCollection", "false"},
                                         {"b", "2"},
                                         {"networkDriverGlobalDetectOnlyMode", "true"},
                                         {"vulnerabilityShieldPassiveMode", "false"}}));
}

TEST_F(PolicyTest, EveryElementFromAgentConfigurationOnAddsTheThreeSettings) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<IPLists/><AgentConfiguration/>"
                                               "<PortLists vulnerabilityShieldPassiveMode=\"late\"/>")),
            0);
  EXPECT_EQ(raw.systemSettings, (AttrMap{{"allowEncryptedDataCollection", "false"},
                                         {"networkDriverGlobalDetectOnlyMode", "false"},
                                         {"vulnerabilityShieldPassiveMode", "false"}}));
}

TEST_F(PolicyTest, DeeplyNestedDocumentFailsInsteadOfExhaustingTheStack) {
  s_Settings.DebugLevel = 1;
  std::string xml;
  for (int i = 0; i < 100000; ++i) xml += "<a>";
  for (int i = 0; i < 100000; ++i) xml += "</a>";
  RawConfig raw;
  EXPECT_EQ(LoadPolicyText(raw, xml), -1);
  EXPECT_EQ(LogMessages(), Strings{"XML LoadFile failed"});
}

TEST_F(PolicyTest, MacIsLowerCasedInAsciiOnly) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyText(raw, PolicyDocument("<Interfaces><Interface id=\"1\" mac=\"\xC3\x84-AB\"/></Interfaces>")),
            0);
  EXPECT_EQ(Keys(raw.interfaceByMacMap), Strings{"\xC3\x84-ab"});
}
