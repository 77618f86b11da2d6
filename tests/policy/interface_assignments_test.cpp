// The InterfaceConfig elements: each stateful filter assignment, global or
// bound to one interface of workingIfMap.
#include "policy/interface_assignments.h"

#include <memory>
#include <string>
#include <vector>

#include "agent_document_support.h"
#include "policy_test_support.h"

using Strings = std::vector<std::string>;

namespace {

// Stateful filter 7, and the given assignments below HostFilters.
std::string StatefulPolicy(const std::string& assignments) {
  return PolicyDocument(
      "<StatefulFilters><StatefulFilter id=\"7\" name=\"Default\" tcpState=\"on\"/></StatefulFilters>"
      "<HostFilters><StatefulFilterAssignments>" +
      assignments + "</StatefulFilterAssignments></HostFilters>");
}

void AddWorkingInterface(RawConfig& raw, const std::string& id, const std::string& name, const std::string& typeId,
                         const std::string& driverId) {
  auto attrs = std::make_unique<AttrMap>(AttrMap{{"id", id}, {"name", name}, {"typeId", typeId}});
  if (!driverId.empty()) (*attrs)["driverIfconfig.id"] = driverId;
  InsertAttrMap(raw.workingIfMap, id, std::move(attrs));
}

std::string WriteAssignments(RawConfig& raw) {
  return PrintFset([&](tinyxml2::XMLPrinter& out) { ProcessInterfaceAssignments(raw, out); });
}

}  // namespace

TEST_F(PolicyTest, AllTrueIsGlobalWithoutLookingAtTheInterfaceId) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" all=\"true\" "
                                               "interfaceId=\"5\"/>")),
            0);
  AddWorkingInterface(raw, "5", "LAN", "1", "2");
  EXPECT_EQ(WriteAssignments(raw),
            "<fset>\n"
            "    <InterfaceConfig id=\"7\" statefulConfiguration=\"Default\" tcpState=\"on\" name=\"global\" "
            "interface=\"0\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, FilterAttributesNamedLikeTheWritersKeepTheirPlaceAndLoseTheirValue) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(
                raw, PolicyDocument("<StatefulFilters><StatefulFilter id=\"7\" interface=\"9\" name=\"Default\" "
                                    "statefulConfiguration=\"Own\"/></StatefulFilters>"
                                    "<HostFilters><StatefulFilterAssignments>"
                                    "<StatefulFilterAssignment statefulFilterId=\"7\" all=\"true\"/>"
                                    "</StatefulFilterAssignments></HostFilters>")),
            0);
  EXPECT_EQ(WriteAssignments(raw),
            "<fset>\n"
            "    <InterfaceConfig id=\"7\" interface=\"0\" statefulConfiguration=\"Own\" name=\"global\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, AssignmentByIdTakesTheInterfaceNameAndDriverNumber) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" interfaceId=\"5\"/>")),
            0);
  AddWorkingInterface(raw, "4", "WAN", "2", "1");
  AddWorkingInterface(raw, "5", "LAN", "1", "3");
  EXPECT_EQ(WriteAssignments(raw),
            "<fset>\n"
            "    <InterfaceConfig id=\"7\" statefulConfiguration=\"Default\" tcpState=\"on\" name=\"LAN\" "
            "interface=\"3\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, InterfaceWithoutNameOrDriverNumberGivesEmptyNameAndZero) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" interfaceId=\"5\"/>")),
            0);
  InsertAttrMap(raw.workingIfMap, "5", std::make_unique<AttrMap>(AttrMap{{"id", "5"}}));
  EXPECT_EQ(WriteAssignments(raw),
            "<fset>\n"
            "    <InterfaceConfig id=\"7\" statefulConfiguration=\"Default\" tcpState=\"on\" name=\"\" "
            "interface=\"0\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, TypeComesBeforeIdAndBindsOnlyTheFirstInterfaceOfThatType) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" interfaceId=\"1\" "
                                               "interfaceTypeId=\"2\"/>")),
            0);
  AddWorkingInterface(raw, "1", "LAN", "1", "1");
  AddWorkingInterface(raw, "9", "WAN9", "2", "9");
  AddWorkingInterface(raw, "10", "WAN10", "2", "10");  // "10" sorts before "9"
  EXPECT_EQ(WriteAssignments(raw),
            "<fset>\n"
            "    <InterfaceConfig id=\"7\" statefulConfiguration=\"Default\" tcpState=\"on\" name=\"WAN10\" "
            "interface=\"10\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, AssignmentWithNeitherTypeNorIdGivesNoElement) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" all=\"True\"/>")),
            0);
  AddWorkingInterface(raw, "1", "LAN", "1", "1");
  EXPECT_EQ(WriteAssignments(raw), "<fset/>\n");
}

TEST_F(PolicyTest, AssignmentToAnUnknownInterfaceGivesNoElement) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" interfaceId=\"8\"/>"
                                               "<StatefulFilterAssignment statefulFilterId=\"7\" "
                                               "interfaceTypeId=\"3\"/>")),
            0);
  AddWorkingInterface(raw, "1", "LAN", "1", "1");
  EXPECT_EQ(WriteAssignments(raw), "<fset/>\n");
}

TEST_F(PolicyTest, WithAnEmptyWorkingMapOnlyGlobalAssignmentsGiveElements) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" interfaceId=\"1\"/>"
                                               "<StatefulFilterAssignment statefulFilterId=\"7\" all=\"true\"/>"
                                               "<StatefulFilterAssignment statefulFilterId=\"7\" "
                                               "interfaceTypeId=\"-1\"/>")),
            0);
  EXPECT_EQ(WriteAssignments(raw),
            "<fset>\n"
            "    <InterfaceConfig id=\"7\" statefulConfiguration=\"Default\" tcpState=\"on\" name=\"global\" "
            "interface=\"0\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, FilterAssignedTwiceGivesTwoElements) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" interfaceId=\"2\"/>"
                                               "<StatefulFilterAssignment statefulFilterId=\"7\" all=\"true\"/>")),
            0);
  ASSERT_EQ(Keys(raw.statefulAssignmentMap), (Strings{"7.1", "7.2"}));
  AddWorkingInterface(raw, "2", "LAN", "1", "4");
  EXPECT_EQ(WriteAssignments(raw),
            "<fset>\n"
            "    <InterfaceConfig id=\"7\" statefulConfiguration=\"Default\" tcpState=\"on\" name=\"LAN\" "
            "interface=\"4\"/>\n"
            "    <InterfaceConfig id=\"7\" statefulConfiguration=\"Default\" tcpState=\"on\" name=\"global\" "
            "interface=\"0\"/>\n"
            "</fset>\n");
}

TEST_F(PolicyTest, TenthAssignmentOfAFilterSortsBeforeTheSecond) {
  RawConfig raw;
  std::string assignments;
  for (int i = 1; i <= 10; ++i) {
    assignments += "<StatefulFilterAssignment statefulFilterId=\"7\" interfaceId=\"" + std::to_string(i) + "\"/>";
    AddWorkingInterface(raw, std::to_string(i), "if" + std::to_string(i), "1", std::to_string(i));
  }
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy(assignments)), 0);
  std::string printed = WriteAssignments(raw);
  tinyxml2::XMLDocument document;
  ASSERT_EQ(document.Parse(printed.c_str()), tinyxml2::XML_SUCCESS);
  Strings names;
  for (auto* e = document.RootElement()->FirstChildElement(); e != nullptr; e = e->NextSiblingElement())
    names.push_back(e->Attribute("name"));
  EXPECT_EQ(names, (Strings{"if1", "if10", "if2", "if3", "if4", "if5", "if6", "if7", "if8", "if9"}));
}

TEST_F(PolicyTest, AssignmentOfAnUnknownStatefulFilterIsLogged) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"8\" all=\"true\"/>")), 0);
  s_Settings.DebugLevel = 1;
  EXPECT_EQ(WriteAssignments(raw), "<fset/>\n");
  EXPECT_EQ(LogMessages(), (Strings{"stateful assignment: cannot find statefulFilterId=8"}));
  EXPECT_EQ(LogFunctions(), (Strings{"ProcessInterfaceAssignments"}));
}

TEST_F(PolicyTest, EachAssignmentIsLoggedAtLevelSixByItsFilterId) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" all=\"true\"/>")), 0);
  s_Settings.DebugLevel = 6;
  WriteAssignments(raw);
  EXPECT_EQ(LogMessages(), (Strings{"stateful assignment: statefulFilterId=7"}));
  EXPECT_EQ(LogFunctions(), (Strings{"ProcessInterfaceAssignments"}));
}

TEST_F(PolicyTest, BadTypeIdOfAnInterfaceFailsTheTranslation) {
  RawConfig raw;
  ASSERT_EQ(LoadPolicyTextQuietly(raw, StatefulPolicy("<StatefulFilterAssignment statefulFilterId=\"7\" "
                                               "interfaceTypeId=\"2\"/>")),
            0);
  AddWorkingInterface(raw, "1", "LAN", "x", "1");
  AddWorkingInterface(raw, "2", "WAN", "2", "5");
  EXPECT_EQ(WriteAssignments(raw),
            "<fset>\n"
            "    <InterfaceConfig id=\"7\" statefulConfiguration=\"Default\" tcpState=\"on\" name=\"WAN\" "
            "interface=\"5\"/>\n"
            "</fset>\n");
  EXPECT_TRUE(raw.badNumber);
}
