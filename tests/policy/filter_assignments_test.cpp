// Assignments resolved into filterInterfaceIdMap and filterIpIdMap.
#include "policy/filter_assignments.h"

#include <memory>
#include <string>
#include <vector>

#include "filter_test_support.h"
#include "policy_test_support.h"

using Strings = std::vector<std::string>;
using IdSet = std::set<std::string, BytewiseLess>;

namespace {

std::string PayloadAssignments(const std::string& filters, const std::string& assignments) {
  return PolicyDocument("<PayloadFilter2s>" + filters + "</PayloadFilter2s><HostFilters><PayloadFilter2Assignments>" +
                        assignments + "</PayloadFilter2Assignments></HostFilters>");
}

void ProcessPayloadFilters(RawConfig& raw) {
  ProcessFilters(raw, L"DPI", raw.payloadFilterAssignmentMap, raw.payloadFilterMap);
}

}  // namespace

TEST_F(PolicyTest, AllAssignmentRecordsInterfaceZero) {
  s_Settings.DebugLevel = 6;
  RawConfig raw;
  ASSERT_EQ(
      LoadPolicyTextQuietly(raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                                R"(<PayloadFilter2Assignment payloadFilter2Id="7" all="true"/>)")),
      0);
  ProcessPayloadFilters(raw);
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"7", IdSet{"0"}}}));
  EXPECT_TRUE(raw.filterIpIdMap.empty());
  EXPECT_EQ(LogMessages(), (Strings{"Added DPI filter 7 to interface 0"}));
  EXPECT_EQ(LogFunctions(), (Strings{"AddFilter"}));
}

TEST_F(PolicyTest, AllWinsOverAnInterfaceId) {
  RawConfig raw;
  AddWorkingInterface(raw, "3", "1", "2", {});
  ASSERT_EQ(
      LoadPolicyTextQuietly(
          raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                  R"(<PayloadFilter2Assignment payloadFilter2Id="7" all="true" interfaceId="3"/>)")),
      0);
  ProcessPayloadFilters(raw);
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"7", IdSet{"0"}}}));
}

TEST_F(PolicyTest, AllIsTrueOnlyForTheExactText) {
  RawConfig raw;
  ASSERT_EQ(
      LoadPolicyTextQuietly(raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                                R"(<PayloadFilter2Assignment payloadFilter2Id="7" all="True"/>)")),
      0);
  ProcessPayloadFilters(raw);
  EXPECT_TRUE(raw.filterInterfaceIdMap.empty());
}

TEST_F(PolicyTest, InterfaceIdInTheWorkingMapBindsThatInterface) {
  RawConfig raw;
  AddWorkingInterface(raw, "3", "1", "2", {});
  ASSERT_EQ(LoadPolicyTextQuietly(
                raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                        R"(<PayloadFilter2Assignment payloadFilter2Id="7" interfaceId="003"/>)")),
            0);
  ProcessPayloadFilters(raw);
  // Looked up and recorded by the number's own text.
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"7", IdSet{"3"}}}));
}

TEST_F(PolicyTest, InterfaceIdNotInTheWorkingMapIsLoggedAndLeftOut) {
  RawConfig raw;
  AddWorkingInterface(raw, "3", "1", "2", {});
  ASSERT_EQ(
      LoadPolicyTextQuietly(raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                                R"(<PayloadFilter2Assignment payloadFilter2Id="7" interfaceId="4"/>)")),
      0);
  ProcessPayloadFilters(raw);
  EXPECT_TRUE(raw.filterInterfaceIdMap.empty());
  EXPECT_EQ(LogMessages(), (Strings{"cannot find interfaceId in config for DPI filter assignment"}));
  EXPECT_EQ(LogFunctions(), (Strings{"ProcessFilters"}));
}

TEST_F(PolicyTest, InterfaceTypeMatchingTwoInterfacesBindsTheFirstInByteOrder) {
  s_Settings.DebugLevel = 6;
  RawConfig raw;
  AddWorkingInterface(raw, "9", "4", "1", {});
  AddWorkingInterface(raw, "10", "4", "2", {});
  AddWorkingInterface(raw, "2", "5", "3", {});
  ASSERT_EQ(LoadPolicyTextQuietly(
                raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                        R"(<PayloadFilter2Assignment payloadFilter2Id="7" interfaceTypeId="4"/>)")),
            0);
  ProcessPayloadFilters(raw);
  // "10" comes before "9"; the second binding is logged but not kept.
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"7", IdSet{"10"}}}));
  EXPECT_EQ(LogMessages(), (Strings{"Added DPI filter 7 to interface 10", "Added DPI filter 7 to interface 9"}));
}

TEST_F(PolicyTest, InterfaceTypeSkipsAnInterfaceWithoutId) {
  RawConfig raw;
  AddWorkingInterface(raw, "1", "4", "1", {});
  raw.workingIfMap["1"]->erase("id");
  AddWorkingInterface(raw, "2", "4", "2", {});
  ASSERT_EQ(LoadPolicyTextQuietly(
                raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                        R"(<PayloadFilter2Assignment payloadFilter2Id="7" interfaceTypeId="4"/>)")),
            0);
  ProcessPayloadFilters(raw);
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"7", IdSet{"2"}}}));
}

TEST_F(PolicyTest, IpIdBindsTheFilterToTheIpOfAnyWorkingInterface) {
  s_Settings.DebugLevel = 6;
  RawConfig raw;
  AddWorkingInterface(raw, "1", "4", "1", {"20"});
  AddWorkingInterface(raw, "2", "4", "2", {"21", "22"});
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                                      R"(<PayloadFilter2Assignment payloadFilter2Id="7" ipId="22"/>)")),
            0);
  ProcessPayloadFilters(raw);
  EXPECT_EQ(raw.filterIpIdMap, (IdSetMap{{"7", IdSet{"22"}}}));
  EXPECT_TRUE(raw.filterInterfaceIdMap.empty());
  EXPECT_EQ(LogMessages(), (Strings{"Added DPI filter 7 to ip 22"}));
}

TEST_F(PolicyTest, IpIdsAreLookedForUpToTheFirstMissingOrdinal) {
  RawConfig raw;
  AddWorkingInterface(raw, "1", "4", "1", {"20"});
  (*raw.workingIfMap["1"])["IPs.IP.2.id"] = "22";
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                                      R"(<PayloadFilter2Assignment payloadFilter2Id="7" ipId="22"/>)")),
            0);
  ProcessPayloadFilters(raw);
  EXPECT_TRUE(raw.filterIpIdMap.empty());
}

TEST_F(PolicyTest, AssignmentWithoutAnyTargetDoesNothing) {
  RawConfig raw;
  AddWorkingInterface(raw, "1", "4", "1", {"20"});
  ASSERT_EQ(
      LoadPolicyTextQuietly(raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                                R"(<PayloadFilter2Assignment payloadFilter2Id="7" all="false"/>)")),
      0);
  ProcessPayloadFilters(raw);
  EXPECT_TRUE(raw.filterInterfaceIdMap.empty());
  EXPECT_TRUE(raw.filterIpIdMap.empty());
  EXPECT_TRUE(LogMessages().empty());
}

TEST_F(PolicyTest, AssignmentOfAnUnknownFilterSaysPayloadForPacketFiltersToo) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PolicyDocument(R"(<HostFilters><PacketFilterAssignments>
      <PacketFilterAssignment packetFilterId="8" all="true"/>
      </PacketFilterAssignments></HostFilters>)")),
            0);
  ProcessFilters(raw, L"FW", raw.packetFilterAssignmentMap, raw.packetFilterMap);
  EXPECT_TRUE(raw.filterInterfaceIdMap.empty());
  Strings messages = LogMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].rfind("payload assignment not found: ID(8), attr(", 0), 0u) << messages[0];
  EXPECT_EQ(LogFunctions(), (Strings{"ProcessFilters"}));
}

TEST_F(PolicyTest, PacketFiltersAreLoggedWithTheirOwnTag) {
  s_Settings.DebugLevel = 6;
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PolicyDocument(R"(<PacketFilters><PacketFilter id="8"/></PacketFilters>
      <HostFilters><PacketFilterAssignments>
      <PacketFilterAssignment packetFilterId="8" all="true"/>
      </PacketFilterAssignments></HostFilters>)")),
            0);
  ProcessFilters(raw, L"FW", raw.packetFilterAssignmentMap, raw.packetFilterMap);
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"8", IdSet{"0"}}}));
  EXPECT_EQ(LogMessages(), (Strings{"Added FW filter 8 to interface 0"}));
}

TEST_F(PolicyTest, BadNumberInAnAllAssignmentFailsTheTranslation) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(
                raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                        R"(<PayloadFilter2Assignment payloadFilter2Id="7" all="true" ipId="x"/>)")),
            0);
  ProcessPayloadFilters(raw);
  EXPECT_TRUE(raw.badNumber);
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"7", IdSet{"0"}}}));
}

TEST_F(PolicyTest, BadTypeIdOfAWorkingInterfaceFailsTheTranslation) {
  RawConfig raw;
  AddWorkingInterface(raw, "1", "z", "1", {});
  ASSERT_EQ(LoadPolicyTextQuietly(
                raw, PayloadAssignments(R"(<PayloadFilter2 id="7"/>)",
                                        R"(<PayloadFilter2Assignment payloadFilter2Id="7" interfaceTypeId="4"/>)")),
            0);
  ProcessPayloadFilters(raw);
  EXPECT_TRUE(raw.badNumber);
  EXPECT_TRUE(raw.filterInterfaceIdMap.empty());
}

TEST_F(PolicyTest, FirstBindingOfAFilterStands) {
  RawConfig raw;
  AddFilter(raw, L"DPI", "7", 3, 0);
  AddFilter(raw, L"DPI", "7", 4, 0);
  AddFilter(raw, L"DPI", "7", 0, 20);
  AddFilter(raw, L"DPI", "7", 0, 21);
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"7", IdSet{"3"}}}));
  EXPECT_EQ(raw.filterIpIdMap, (IdSetMap{{"7", IdSet{"20"}}}));
}

TEST_F(PolicyTest, IpIdWinsOverInterfaceIdInAddFilter) {
  RawConfig raw;
  AddFilter(raw, L"FW", "7", 3, 20);
  EXPECT_TRUE(raw.filterInterfaceIdMap.empty());
  EXPECT_EQ(raw.filterIpIdMap, (IdSetMap{{"7", IdSet{"20"}}}));
}

TEST_F(PolicyTest, EmptyWorkingMapLeavesOnlyAllAssignments) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PayloadAssignments(R"(<PayloadFilter2 id="1"/><PayloadFilter2 id="2"/>
      <PayloadFilter2 id="3"/><PayloadFilter2 id="4"/>)",
                                                      R"(<PayloadFilter2Assignment payloadFilter2Id="1" all="true"/>
      <PayloadFilter2Assignment payloadFilter2Id="2" interfaceId="5"/>
      <PayloadFilter2Assignment payloadFilter2Id="3" interfaceTypeId="5"/>
      <PayloadFilter2Assignment payloadFilter2Id="4" ipId="5"/>)")),
            0);
  ProcessPayloadFilters(raw);
  EXPECT_EQ(raw.filterInterfaceIdMap, (IdSetMap{{"1", IdSet{"0"}}}));
  EXPECT_TRUE(raw.filterIpIdMap.empty());
  EXPECT_EQ(LogMessages(), (Strings{"cannot find interfaceId in config for DPI filter assignment"}));
}
