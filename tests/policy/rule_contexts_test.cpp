// The context elements: attributes from the rule context, children from its
// decoded ruleCode fragment.
#include "policy/rule_contexts.h"

#include <string>
#include <vector>

#include "agent_document_support.h"
#include "policy_test_support.h"

using Strings = std::vector<std::string>;

namespace {

std::string WriteContexts(const std::string& ruleContexts) {
  RawConfig raw;
  EXPECT_EQ(LoadPolicyTextQuietly(raw, PolicyDocument("<RuleContexts>" + ruleContexts + "</RuleContexts>")), 0);
  return PrintFset([&](tinyxml2::XMLPrinter& out) { InstallRuleContexts(raw, out); });
}

// "<context><rule a=\"1\"><x/></rule><other b=\"2\"/></context>"
const char kContextFragment[] = "PGNvbnRleHQ+PHJ1bGUgYT0iMSI+PHgvPjwvcnVsZT48b3RoZXIgYj0iMiIvPjwvY29udGV4dD4=";
// "<rules><rule/></rules>"
const char kRulesFragment[] = "PHJ1bGVzPjxydWxlLz48L3J1bGVzPg==";
// "<context><rule>", cut short
const char kBrokenFragment[] = "PGNvbnRleHQ+PHJ1bGU+";

}  // namespace

TEST_F(PolicyTest, DomainStatusTwoGivesTheLocalVariable) {
  EXPECT_EQ(WriteContexts("<RuleContext id=\"50\" onDomainStatus=\"2\"/>"),
            "<fset>\n"
            "    <context id=\"50\" byvar=\"/sys/connect/dc_local\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, DomainStatusZeroOrNotANumberGivesNoVariable) {
  EXPECT_EQ(WriteContexts("<RuleContext id=\"50\" onDomainStatus=\"0\"/><RuleContext id=\"51\" onDomainStatus=\"x\"/>"),
            "<fset>\n"
            "    <context id=\"50\"/>\n"
            "    <context id=\"51\"/>\n"
            "</fset>\n");
}

TEST(DomainStatusVariable, EachValueOfTheTable) {
  EXPECT_EQ(DomainStatusVariable(0), nullptr);
  EXPECT_STREQ(DomainStatusVariable(1), "/sys/connect/dc_connected");
  EXPECT_STREQ(DomainStatusVariable(2), "/sys/connect/dc_local");
  EXPECT_STREQ(DomainStatusVariable(3), "/sys/connect/dc_remote");
  EXPECT_STREQ(DomainStatusVariable(4), "/sys/connect/dc_disconnected");
  EXPECT_STREQ(DomainStatusVariable(5), "/sys/connect/");
}

TEST(DomainStatusVariable, ValueOutsideTheTableGivesNone) {
  EXPECT_EQ(DomainStatusVariable(6), nullptr);
  EXPECT_EQ(DomainStatusVariable(-1), nullptr);
}

TEST_F(PolicyTest, RuleContextWithoutRuleCodeHasAttributesOnlyInTheirOwnOrder) {
  EXPECT_EQ(WriteContexts("<RuleContext onDomainStatus=\"4\" onLockedInterface=\"true\" name=\"Ctx\" id=\"50\"/>"),
            "<fset>\n"
            "    <context id=\"50\" name=\"Ctx\" on_locked=\"true\" byvar=\"/sys/connect/dc_disconnected\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, RuleCodeChildrenAreCopiedWithAllBelowThem) {
  EXPECT_EQ(WriteContexts(std::string("<RuleContext id=\"50\" name=\"Ctx\" ruleCode=\"") + kContextFragment + "\"/>"),
            "<fset>\n"
            "    <context id=\"50\" name=\"Ctx\">\n"
            "        <rule a=\"1\">\n"
            "            <x/>\n"
            "        </rule>\n"
            "        <other b=\"2\"/>\n"
            "    </context>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, FragmentWhoseRootIsNotContextLeavesTheElementEmptyWithoutALogLine) {
  s_Settings.DebugLevel = 5;
  EXPECT_EQ(WriteContexts(std::string("<RuleContext id=\"50\" ruleCode=\"") + kRulesFragment + "\"/>"),
            "<fset>\n"
            "    <context id=\"50\"/>\n"
            "</fset>\n");
  EXPECT_TRUE(LogMessages().empty());
}

TEST_F(PolicyTest, FragmentThatDoesNotParseIsLoggedAndLeavesTheElementEmpty) {
  s_Settings.DebugLevel = 1;
  EXPECT_EQ(WriteContexts(std::string("<RuleContext id=\"50\" ruleCode=\"") + kBrokenFragment + "\"/>"),
            "<fset>\n"
            "    <context id=\"50\"/>\n"
            "</fset>\n");
  EXPECT_EQ(LogMessages(), (Strings{"XML Parse failed for ruleCode"}));
  EXPECT_EQ(LogFunctions(), (Strings{"InstallRuleContexts"}));
}

TEST_F(PolicyTest, DecodedRuleCodeIsLoggedAtLevelSix) {
  s_Settings.DebugLevel = 6;
  WriteContexts(std::string("<RuleContext id=\"50\" ruleCode=\"") + kRulesFragment + "\"/>");
  // The fragment follows on the lines behind the prefixed one.
  EXPECT_EQ(LogMessages(), (Strings{"ruleCode=>"}));
  EXPECT_EQ(LogFunctions(), (Strings{"InstallRuleContexts"}));
}

TEST_F(PolicyTest, ContextsComeInByteOrderOfTheirIds) {
  EXPECT_EQ(WriteContexts("<RuleContext id=\"9\"/><RuleContext id=\"10\"/>"),
            "<fset>\n"
            "    <context id=\"10\"/>\n"
            "    <context id=\"9\"/>\n"
            "</fset>\n");
}
