// The PayloadFilter elements: priorities, connection type, schedule, log
// flags, rule code and interface mask.
#include "policy/payload_filters.h"

#include <string>
#include <vector>

#include "agent_document_support.h"
#include "filter_test_support.h"
#include "policy/filter_assignments.h"
#include "policy_test_support.h"

using Strings = std::vector<std::string>;

namespace {

// Payload filters, their assignments, and any further sections of a policy.
std::string PayloadPolicy(const std::string& filters, const std::string& assignments, const std::string& more = "") {
  return PolicyDocument("<PayloadFilter2s>" + filters + "</PayloadFilter2s><HostFilters><PayloadFilter2Assignments>" +
                        assignments + "</PayloadFilter2Assignments></HostFilters>" + more);
}

// One filter with id 1, priority 0, bound to all interfaces.
std::string OneFilter(const std::string& attributes, const std::string& more = "") {
  return PayloadPolicy(R"(<PayloadFilter2 id="1" priority="0" )" + attributes + "/>",
                       R"(<PayloadFilter2Assignment payloadFilter2Id="1" all="true"/>)", more);
}

// The connection type writer leaves each connection's number under `ctype`.
void SetCtype(RawConfig& raw, const std::string& connectionId, const std::string& ctype) {
  (*raw.connectionMap.at(connectionId))["ctype"] = ctype;
}

// Resolves the payload assignments and writes the section under a fresh
// fset; the document in tinyxml2's indented print.
std::string WritePayloadSection(RawConfig& raw) {
  ProcessFilters(raw, L"DPI", raw.payloadFilterAssignmentMap, raw.payloadFilterMap);
  return PrintFset([&](tinyxml2::XMLPrinter& out) { WriteDpiFilters(raw, out); });
}

}  // namespace

class PayloadFilters : public PolicyTest {
 protected:
  // The section written for a policy text.
  std::string SectionFor(const std::string& policy) {
    RawConfig raw;
    EXPECT_EQ(LoadPolicyTextQuietly(raw, policy), 0);
    return WritePayloadSection(raw);
  }
};

TEST_F(PayloadFilters, AllAttributesInTheirOrderWithRuleChildren) {
  RawConfig raw;
  AddWorkingInterface(raw, "3", "1", "2", {});
  // rules: <match pattern="GET"/>\n<action drop="1"/>\n
  ASSERT_EQ(LoadPolicyTextQuietly(
                raw, PayloadPolicy(R"(<PayloadFilter2 rules="PG1hdGNoIHBhdHRlcm49IkdFVCIvPgo8YWN0aW9uIGRyb3A9IjEiLz4K"
      ruleContextId="50" logPacketDrop="true" logFirstPduTimeout="60" connectionTypeId="5" priority="0"
      name="web" id="1"/>)",
                                   R"(<PayloadFilter2Assignment payloadFilter2Id="1" interfaceId="3"/>)",
                                   R"(<ConnectionTypes><ConnectionType id="5"/></ConnectionTypes>)")),
            0);
  SetCtype(raw, "5", "3");
  EXPECT_EQ(WritePayloadSection(raw),
            "<fset>\n"
            "    <PayloadFilter ctype=\"3\" id=\"1\" name=\"web\" log_first_pdu=\"1\" "
            "log_first_pdu_time_interval=\"60\" log=\"drop\" ruleContextId=\"50\" interfaces=\"4\">\n"
            "        <match pattern=\"GET\"/>\n"
            "        <action drop=\"1\"/>\n"
            "    </PayloadFilter>\n"
            "</fset>\n");
  EXPECT_FALSE(raw.badNumber);
}

TEST_F(PayloadFilters, ByPriorityThenByTheByteOrderOfIds) {
  EXPECT_EQ(SectionFor(PayloadPolicy(R"(<PayloadFilter2 id="9" priority="0"/><PayloadFilter2 id="10" priority="1"/>
      <PayloadFilter2 id="2" priority="1"/><PayloadFilter2 id="30" priority="0"/>)",
                                     R"(<PayloadFilter2Assignment payloadFilter2Id="9" all="true"/>
      <PayloadFilter2Assignment payloadFilter2Id="10" all="true"/>
      <PayloadFilter2Assignment payloadFilter2Id="2" all="true"/>
      <PayloadFilter2Assignment payloadFilter2Id="30" all="true"/>)")),
            "<fset>\n"
            "    <PayloadFilter id=\"30\" log=\"\"/>\n"
            "    <PayloadFilter id=\"9\" log=\"\"/>\n"
            "    <PayloadFilter id=\"10\" log=\"\"/>\n"
            "    <PayloadFilter id=\"2\" log=\"\"/>\n"
            "</fset>\n");
}

TEST_F(PayloadFilters, PriorityFourIsLeftOutWithoutALogLine) {
  EXPECT_EQ(SectionFor(PayloadPolicy(R"(<PayloadFilter2 id="1" priority="4" connectionTypeId="5"/>)",
                                     R"(<PayloadFilter2Assignment payloadFilter2Id="1" all="true"/>)")),
            "<fset/>\n");
  EXPECT_TRUE(LogMessages().empty());
}

TEST_F(PayloadFilters, MissingPriorityIsLoggedInEachOfTheFourPasses) {
  EXPECT_EQ(SectionFor(PayloadPolicy(R"(<PayloadFilter2 id="1"/>)",
                                     R"(<PayloadFilter2Assignment payloadFilter2Id="1" all="true"/>)")),
            "<fset/>\n");
  EXPECT_EQ(LogMessages(), Strings(4, "cannot find priority in payload filter attributes"));
  EXPECT_EQ(LogFunctions(), Strings(4, "WriteDpiFilters"));
}

TEST_F(PayloadFilters, BadPriorityFailsTheTranslationAndWritesNothing) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PayloadPolicy(R"(<PayloadFilter2 id="1" priority="high"/>)",
                                                 R"(<PayloadFilter2Assignment payloadFilter2Id="1" all="true"/>)")),
            0);
  EXPECT_EQ(WritePayloadSection(raw), "<fset/>\n");
  EXPECT_TRUE(raw.badNumber);
}

TEST_F(PayloadFilters, FilterAssignedByIpIdAloneIsWrittenNowhere) {
  RawConfig raw;
  AddWorkingInterface(raw, "3", "1", "2", {"20"});
  ASSERT_EQ(LoadPolicyTextQuietly(raw, PayloadPolicy(R"(<PayloadFilter2 id="1" priority="0"/>)",
                                                 R"(<PayloadFilter2Assignment payloadFilter2Id="1" ipId="20"/>)")),
            0);
  EXPECT_EQ(WritePayloadSection(raw), "<fset/>\n");
}

TEST_F(PayloadFilters, InterfaceTypeMatchingTwoInterfacesGivesOneBit) {
  RawConfig raw;
  AddWorkingInterface(raw, "1", "4", "2", {});
  AddWorkingInterface(raw, "2", "4", "5", {});
  ASSERT_EQ(
      LoadPolicyTextQuietly(raw, PayloadPolicy(R"(<PayloadFilter2 id="1" priority="0"/>)",
                                           R"(<PayloadFilter2Assignment payloadFilter2Id="1" interfaceTypeId="4"/>)")),
      0);
  EXPECT_EQ(WritePayloadSection(raw),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\" interfaces=\"4\"/>\n"
            "</fset>\n");
}

TEST_F(PayloadFilters, EmptyWorkingMapLeavesElementsOfAllAssignmentsOnly) {
  EXPECT_EQ(SectionFor(PayloadPolicy(R"(<PayloadFilter2 id="1" priority="0"/><PayloadFilter2 id="2" priority="0"/>
      <PayloadFilter2 id="3" priority="0"/><PayloadFilter2 id="4" priority="0"/>)",
                                     R"(<PayloadFilter2Assignment payloadFilter2Id="1" interfaceId="5"/>
      <PayloadFilter2Assignment payloadFilter2Id="2" interfaceTypeId="5"/>
      <PayloadFilter2Assignment payloadFilter2Id="3" ipId="5"/>
      <PayloadFilter2Assignment payloadFilter2Id="4" all="true"/>)")),
            "<fset>\n"
            "    <PayloadFilter id=\"4\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find interfaceId in config for DPI filter assignment",
                                    "cannot find connectionTypeId in payload filter attributes"}));
}

// A connection the connection type writer skipped still carries the number
// it was given, though no conType element has it.
TEST_F(PayloadFilters, ConnectionSkippedByTheConnectionWriterStillGivesItsCtype) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, OneFilter(R"(connectionTypeId="6")",
                                             R"(<ConnectionTypes><ConnectionType id="6"/></ConnectionTypes>)")),
            0);
  SetCtype(raw, "6", "7");
  EXPECT_EQ(WritePayloadSection(raw),
            "<fset>\n"
            "    <PayloadFilter ctype=\"7\" id=\"1\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_TRUE(LogMessages().empty());
}

TEST_F(PayloadFilters, MissingConnectionTypeIdIsLoggedAndTheElementStays) {
  EXPECT_EQ(SectionFor(OneFilter("")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find connectionTypeId in payload filter attributes"}));
  EXPECT_EQ(LogFunctions(), (Strings{"WriteDpiFilters"}));
}

TEST_F(PayloadFilters, UnknownConnectionIsLoggedAndTheElementStays) {
  EXPECT_EQ(SectionFor(OneFilter(R"(connectionTypeId="6")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find corresponding connection in connectionMap"}));
}

TEST_F(PayloadFilters, ConnectionWithoutCtypeIsLoggedAndTheElementStays) {
  EXPECT_EQ(SectionFor(
                OneFilter(R"(connectionTypeId="6")", R"(<ConnectionTypes><ConnectionType id="6"/></ConnectionTypes>)")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find ctype in this connection"}));
}

// The log flag word.

TEST_F(PayloadFilters, DisableLogEndsTheListAndNothingAfterItIsRead) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, OneFilter(R"(disableLog="true" logPacketDrop="true" includePacketData="true"
      logFirstPduTimeout="bad" connectionTypeId="6")",
                                             R"(<ConnectionTypes><ConnectionType id="6"/></ConnectionTypes>)")),
            0);
  SetCtype(raw, "6", "2");
  EXPECT_EQ(WritePayloadSection(raw),
            "<fset>\n"
            "    <PayloadFilter ctype=\"2\" id=\"1\" log=\"disable\"/>\n"
            "</fset>\n");
  EXPECT_FALSE(raw.badNumber);
}

TEST_F(PayloadFilters, PacketDataLeavesTheFirstPduTimeoutUnread) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, OneFilter(R"(includePacketData="true" logFirstPduTimeout="60")")), 0);
  EXPECT_EQ(WritePayloadSection(raw),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"data\"/>\n"
            "</fset>\n");
}

TEST_F(PayloadFilters, PacketDataLeavesABadFirstPduTimeoutUnread) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, OneFilter(R"(includePacketData="true" logFirstPduTimeout="soon")")), 0);
  WritePayloadSection(raw);
  EXPECT_FALSE(raw.badNumber);
}

TEST_F(PayloadFilters, FirstPduTimeoutAloneGivesItsAttributesAndAnEmptyLog) {
  EXPECT_EQ(SectionFor(OneFilter(R"(logFirstPduTimeout="60")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log_first_pdu=\"1\" log_first_pdu_time_interval=\"60\" log=\"\"/>\n"
            "</fset>\n");
}

TEST_F(PayloadFilters, FirstPduTimeoutOfZeroGivesNoAttributes) {
  EXPECT_EQ(SectionFor(OneFilter(R"(logFirstPduTimeout="0")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
}

TEST_F(PayloadFilters, FirstPduIntervalIsRebuiltFromTheNumber) {
  EXPECT_EQ(SectionFor(OneFilter(R"(logFirstPduTimeout="007")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log_first_pdu=\"1\" log_first_pdu_time_interval=\"7\" log=\"\"/>\n"
            "</fset>\n");
}

TEST_F(PayloadFilters, BadFirstPduTimeoutFailsTheTranslation) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, OneFilter(R"(logFirstPduTimeout="soon")")), 0);
  WritePayloadSection(raw);
  EXPECT_TRUE(raw.badNumber);
}

TEST_F(PayloadFilters, FourFlagWordsJoinedByCommasInTheirOrder) {
  EXPECT_EQ(SectionFor(OneFilter(R"(mode="1" debugMode="true" logPacketModify="true" logPacketDrop="true")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"drop,modify,debug,passive\"/>\n"
            "</fset>\n");
}

TEST_F(PayloadFilters, DataThenTheOtherFlagWords) {
  EXPECT_EQ(SectionFor(OneFilter(R"(includePacketData="true" mode="1")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"data,passive\"/>\n"
            "</fset>\n");
}

TEST_F(PayloadFilters, FlagTestsAreExact) {
  EXPECT_EQ(SectionFor(OneFilter(R"(logPacketDrop="True" disableLog="TRUE" mode="01")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
}

// The schedule rule: schedbits is never written.

TEST_F(PayloadFilters, UnknownScheduleIsLogged) {
  EXPECT_EQ(SectionFor(OneFilter(R"(scheduleId="9")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(),
            (Strings{"cannot find connectionTypeId in payload filter attributes", "cannot find assoicated schedule"}));
  EXPECT_EQ(LogFunctions(), Strings(2, "WriteDpiFilters"));
}

TEST_F(PayloadFilters, ScheduleWithoutHourOfWeekIsLogged) {
  SectionFor(OneFilter(R"(scheduleId="9")", R"(<Schedules><Schedule id="9"/></Schedules>)"));
  EXPECT_EQ(LogMessages(), (Strings{"cannot find connectionTypeId in payload filter attributes",
                                    "cannot find hourOfWeek in schedule tag"}));
}

TEST_F(PayloadFilters, HourOfWeekOfAnotherLengthIsLoggedWithItsLength) {
  EXPECT_EQ(SectionFor(OneFilter(R"(scheduleId="9")", R"(<Schedules><Schedule id="9" hourOfWeek="abc"/></Schedules>)")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(),
            (Strings{"cannot find connectionTypeId in payload filter attributes", "hourOfWeek only contains 3 bits"}));
}

TEST_F(PayloadFilters, HourOfWeekOfZerosAndOnesIsIllegalAndWritesNoSchedbits) {
  std::string hours = std::string(84, '1') + std::string(84, '0');
  EXPECT_EQ(SectionFor(OneFilter(R"(scheduleId="9")",
                                 R"(<Schedules><Schedule id="9" hourOfWeek=")" + hours + R"("/></Schedules>)")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find connectionTypeId in payload filter attributes",
                                    "hourOfWeek contains illegal value " + hours}));
}

TEST_F(PayloadFilters, HourOfWeekWithoutZerosOrOnesPassesQuietlyAndWritesNoSchedbits) {
  std::string hours(168, 'x');
  EXPECT_EQ(SectionFor(OneFilter(R"(scheduleId="9")",
                                 R"(<Schedules><Schedule id="9" hourOfWeek=")" + hours + R"("/></Schedules>)")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"cannot find connectionTypeId in payload filter attributes"}));
}

// Rule code.

TEST_F(PayloadFilters, RuleCodeThatDoesNotParseIsLoggedAndTheElementStays) {
  // rules: <match pattern="GET">\n  (never closed)
  EXPECT_EQ(SectionFor(OneFilter(R"(rules="PG1hdGNoIHBhdHRlcm49IkdFVCI+Cg==" ruleContextId="50")")),
            "<fset>\n"
            "    <PayloadFilter id=\"1\" log=\"\" ruleContextId=\"50\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(),
            (Strings{"cannot find connectionTypeId in payload filter attributes", "XML Parse failed for ruleCode"}));
  EXPECT_EQ(LogFunctions(), Strings(2, "WriteDpiFilters"));
}

TEST_F(PayloadFilters, RuleCodeAndTheAddedFilterAreLoggedInDetail) {
  s_Settings.DebugLevel = 6;
  // rules: <match pattern="GET"/>\n<action drop="1"/>\n
  SectionFor(OneFilter(R"(rules="PG1hdGNoIHBhdHRlcm49IkdFVCIvPgo8YWN0aW9uIGRyb3A9IjEiLz4K")"));
  Strings messages = LogMessages();
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.back(), "Dpi filter added: ID(1)");
  std::string all;
  for (const std::string& m : messages) all += m + "\n";
  EXPECT_NE(all.find("ruleCode=>"), std::string::npos) << all;
}
