// The "service" objects made from hand-built service records: which
// attributes, in which order, with which text. Expectations are written from
// the query's rules.
#include "metadata/service_objects.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <string>
#include <utility>
#include <vector>

#include "metadata/compute_hash.h"
#include "metadata/result_shell.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

// The object's identifier and its attributes, as the document holds them.
struct Object {
  std::string identifier;
  Pairs attributes;
};

Object Make(const ServiceRecord& record, bool detailed) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  HmdResultShell shell = AddResultShell(document, results, "3", "1");
  AddServiceObject(document, shell.hostMetaDatas, record, detailed);
  const tinyxml2::XMLElement* object = shell.hostMetaDatas->FirstChildElement("HostMetaData");
  Object out;
  EXPECT_STREQ(object->Attribute("type"), "service");
  out.identifier = object->Attribute("identifier");
  for (const tinyxml2::XMLElement* a = object->FirstChildElement("Attributes")->FirstChildElement(); a;
       a = a->NextSiblingElement()) {
    out.attributes.emplace_back(a->Attribute("name"), a->Attribute("value"));
  }
  return out;
}

// A stopped own-process service whose configuration, description and
// failure actions were all read.
ServiceRecord FullRecord() {
  ServiceRecord record{.keyName = "ZentProbe",
                       .displayName = "Zent Probe",
                       .currentState = 1,
                       .processId = 0,
                       .config = ServiceConfig{.binaryPathName = "C:\\ZentE2e\\mlfilter.exe",
                                               .startType = 3,
                                               .serviceType = 16,
                                               .serviceStartName = "LocalSystem",
                                               .loadOrderGroup = "ZentGroup",
                                               .dependencies = std::string("Alpha\0Beta\0\0", 12)},
                       .description = u"Probe",
                       .failureActions = std::nullopt};
  ServiceFailureActions failure;
  failure.resetPeriod = 86400;
  failure.rebootMessage = u"Bye";
  failure.command = u"run.exe";
  failure.actions = {{1, 1000}, {2, 2000}, {3, 3000}, {0, 4000}};
  record.failureActions = failure;
  return record;
}

TEST(ServiceDetailFlag, EitherArgumentExactlyDetailed) {
  EXPECT_TRUE(IsDetailedServiceQuery("detailed", ""));
  EXPECT_TRUE(IsDetailedServiceQuery("", "detailed"));
  EXPECT_TRUE(IsDetailedServiceQuery("x", "detailed"));
  EXPECT_FALSE(IsDetailedServiceQuery("", ""));
  EXPECT_FALSE(IsDetailedServiceQuery("Detailed", "DETAILED"));
  EXPECT_FALSE(IsDetailedServiceQuery("detailed ", " detailed"));
  EXPECT_FALSE(IsDetailedServiceQuery("detail", "detailedx"));
}

TEST(ServiceObject, NotDetailedHasAtMostSixAttributes) {
  Object object = Make(FullRecord(), false);
  EXPECT_EQ(object.identifier, "ZentProbe");
  EXPECT_EQ(object.attributes, (Pairs{{"displayName", "Zent Probe"},
                                      {"running", "false"},
                                      {"binaryPathName", "C:\\ZentE2e\\mlfilter.exe"},
                                      {"startType", "3"},
                                      {"serviceType", "16"},
                                      {"serviceStartName", "LocalSystem"}}));
}

TEST(ServiceObject, DetailedHasEveryAttributeInOrder) {
  Object object = Make(FullRecord(), true);
  EXPECT_EQ(object.attributes, (Pairs{{"displayName", "Zent Probe"},
                                      {"running", "false"},
                                      {"processId", "0"},
                                      {"state", "1"},
                                      {"stateFriendly", "stopped"},
                                      {"binaryPathName", "C:\\ZentE2e\\mlfilter.exe"},
                                      {"startType", "3"},
                                      {"serviceType", "16"},
                                      {"serviceStartName", "LocalSystem"},
                                      {"startTypeFriendly", "manual"},
                                      {"loadOrderGroup", "ZentGroup"},
                                      {"dependsOn", "Alpha,Beta"},
                                      {"description", "P"},
                                      {"resetFailCountAfter", "86400"},
                                      {"rebootMessage", "B"},
                                      {"runProgram", "r"},
                                      {"firstFailure", "1000,Restart"},
                                      {"secondFailure", "2000,Reboot"},
                                      {"subsequentFailures", "3000,RunCommand"},
                                      {"subsequentFailures", "4000,None"}}));
}

TEST(ServiceObject, WholeObjectPrintsAndHashes) {
  ServiceRecord record;
  record.keyName = "a&b";
  record.displayName = "\"Q\"";
  record.currentState = 4;
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  HmdResultShell shell = AddResultShell(document, results, "3", "s");
  AddServiceObject(document, shell.hostMetaDatas, record, false);
  ComputeHash(shell.result);
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  // SHA-1 of: service a&b displayName "Q" running true
  EXPECT_EQ(std::string(printer.CStr()),
            "<HostMetaDataQueryResults>\n"
            "    <HostMetaDataQueryResult commandVersion=\"3\" id=\"s\" hashAlg=\"SHA1\" "
            "hash=\"DE:48:38:4B:70:CF:BF:4A:A3:50:19:E6:7A:C9:E2:75:85:CF:45:29\">\n"
            "        <HostMetaDatas>\n"
            "            <HostMetaData type=\"service\" identifier=\"a&amp;b\">\n"
            "                <Attributes>\n"
            "                    <Attribute name=\"displayName\" value=\"&quot;Q&quot;\"/>\n"
            "                    <Attribute name=\"running\" value=\"true\"/>\n"
            "                </Attributes>\n"
            "            </HostMetaData>\n"
            "        </HostMetaDatas>\n"
            "    </HostMetaDataQueryResult>\n"
            "</HostMetaDataQueryResults>\n");
}

struct StateRow {
  uint32_t state;
  const char* running;
  const char* friendly;  // null: no stateFriendly
};

class ServiceStates : public ::testing::TestWithParam<StateRow> {};

TEST_P(ServiceStates, RunningAndFriendlyName) {
  ServiceRecord record;
  record.keyName = "s";
  record.displayName = "d";
  record.currentState = GetParam().state;
  record.processId = 4242;
  Pairs expected = {{"displayName", "d"},
                    {"running", GetParam().running},
                    {"processId", "4242"},
                    {"state", std::to_string(GetParam().state)}};
  if (GetParam().friendly) expected.emplace_back("stateFriendly", GetParam().friendly);
  EXPECT_EQ(Make(record, true).attributes, expected);
  EXPECT_EQ(Make(record, false).attributes, (Pairs{{"displayName", "d"}, {"running", GetParam().running}}));
}

INSTANTIATE_TEST_SUITE_P(ZeroToEight, ServiceStates,
                         ::testing::Values(StateRow{0, "true", "unknown"}, StateRow{1, "false", "stopped"},
                                           StateRow{2, "true", "starting"}, StateRow{3, "true", "stopping"},
                                           StateRow{4, "true", "running"}, StateRow{5, "true", "continuePending"},
                                           StateRow{6, "true", "pausePending"}, StateRow{7, "true", "paused"},
                                           StateRow{8, "true", nullptr}));

struct StartTypeRow {
  uint32_t startType;
  const char* friendly;  // null: no startTypeFriendly
};

class ServiceStartTypes : public ::testing::TestWithParam<StartTypeRow> {};

TEST_P(ServiceStartTypes, FriendlyNameWhenDetailed) {
  ServiceRecord record;
  record.keyName = "s";
  record.currentState = 1;
  ServiceConfig config;
  config.startType = GetParam().startType;
  config.serviceType = 32;
  record.config = config;
  std::string type = std::to_string(GetParam().startType);
  Pairs expected = {{"displayName", ""},  {"running", "false"},       {"processId", "0"},
                    {"state", "1"},       {"stateFriendly", "stopped"}, {"binaryPathName", ""},
                    {"startType", type},  {"serviceType", "32"},      {"serviceStartName", ""}};
  if (GetParam().friendly) expected.emplace_back("startTypeFriendly", GetParam().friendly);
  EXPECT_EQ(Make(record, true).attributes, expected);
}

INSTANTIATE_TEST_SUITE_P(ZeroToFive, ServiceStartTypes,
                         ::testing::Values(StartTypeRow{0, "boot"}, StartTypeRow{1, "system"},
                                           StartTypeRow{2, "automatic"}, StartTypeRow{3, "manual"},
                                           StartTypeRow{4, "disabled"}, StartTypeRow{5, nullptr}));

// The record of a running service with a configuration, its last three
// detailed attributes being what the test looks at.
ServiceRecord ConfiguredRecord() {
  return ServiceRecord{.keyName = "s",
                       .displayName = "d",
                       .currentState = 4,
                       .processId = 10,
                       .config = ServiceConfig{
                           .binaryPathName = "b", .startType = 2, .serviceType = 16, .serviceStartName = "n",
                           .loadOrderGroup = "", .dependencies = ""},
                       .description = std::nullopt,
                       .failureActions = std::nullopt};
}

const Pairs kConfiguredDetailed = {{"displayName", "d"}, {"running", "true"},       {"processId", "10"},
                                   {"state", "4"},       {"stateFriendly", "running"}, {"binaryPathName", "b"},
                                   {"startType", "2"},   {"serviceType", "16"},      {"serviceStartName", "n"},
                                   {"startTypeFriendly", "automatic"}};

Pairs With(Pairs pairs, const Pairs& more) {
  pairs.insert(pairs.end(), more.begin(), more.end());
  return pairs;
}

TEST(ServiceDependsOn, EntriesJoinedWithCommas) {
  ServiceRecord record = ConfiguredRecord();
  record.config->dependencies = std::string("RpcSs\0+Group\0Tcpip\0\0", 21);
  EXPECT_EQ(Make(record, true).attributes, With(kConfiguredDetailed, {{"dependsOn", "RpcSs,+Group,Tcpip"}}));
}

TEST(ServiceDependsOn, EmptyListOrEmptyFirstEntryLeavesItOut) {
  ServiceRecord record = ConfiguredRecord();
  record.config->dependencies = std::string("\0\0", 2);
  EXPECT_EQ(Make(record, true).attributes, kConfiguredDetailed);
  record.config->dependencies = std::string("\0Late\0\0", 7);
  EXPECT_EQ(Make(record, true).attributes, kConfiguredDetailed);
}

TEST(ServiceDependsOn, ListEndsAtItsBlockWithoutTheClosingZeros) {
  EXPECT_EQ(ServiceDependsOn(std::string("A\0B", 3)), "A,B");
  EXPECT_EQ(ServiceDependsOn(std::string("A\0", 2)), "A");
  EXPECT_EQ(ServiceDependsOn(std::string("A\0\0B\0", 5)), "A");
  EXPECT_EQ(ServiceDependsOn(std::string()), "");
}

TEST(ServiceLoadOrderGroup, OnlyWhenNotEmptyAndDetailed) {
  ServiceRecord record = ConfiguredRecord();
  record.config->loadOrderGroup = "NDIS";
  EXPECT_EQ(Make(record, true).attributes, With(kConfiguredDetailed, {{"loadOrderGroup", "NDIS"}}));
  EXPECT_EQ(Make(record, false).attributes.size(), 6u);
}

TEST(ServiceDescription, KeepsTheUtf16BytesUpToTheFirstZeroByte) {
  EXPECT_EQ(ServiceNarrowCopy(u"Zent probe"), "Z");
  EXPECT_EQ(ServiceNarrowCopy(u"\u03A9mega"), "\xA9\x03m");
  EXPECT_EQ(ServiceNarrowCopy(u"\u0100x"), "");
  EXPECT_EQ(ServiceNarrowCopy(u"\u4E2D\u6587"), "\x2D\x4E\x87\x65");
  EXPECT_EQ(ServiceNarrowCopy(u""), "");
}

TEST(ServiceDescription, NullOmitsItEmptyKeepsIt) {
  ServiceRecord record = ConfiguredRecord();
  EXPECT_EQ(Make(record, true).attributes, kConfiguredDetailed);
  record.description = u"";
  EXPECT_EQ(Make(record, true).attributes, With(kConfiguredDetailed, {{"description", ""}}));
  record.description = u"\u03A9mega";
  EXPECT_EQ(Make(record, true).attributes, With(kConfiguredDetailed, {{"description", "\xA9\x03m"}}));
}

TEST(ServiceFailureActions, FourActionsRepeatSubsequentFailures) {
  ServiceRecord record = ConfiguredRecord();
  ServiceFailureActions failure;
  failure.resetPeriod = 60;
  failure.actions = {{1, 100}, {1, 200}, {7, 300}, {2, 0xFFFFFFFF}};
  record.failureActions = failure;
  EXPECT_EQ(Make(record, true).attributes, With(kConfiguredDetailed, {{"resetFailCountAfter", "60"},
                                                                       {"firstFailure", "100,Restart"},
                                                                       {"secondFailure", "200,Restart"},
                                                                       {"subsequentFailures", "300,7"},
                                                                       {"subsequentFailures", "-1,Reboot"}}));
}

TEST(ServiceFailureActions, NullTextsOmittedEmptyTextsKept) {
  ServiceRecord record = ConfiguredRecord();
  ServiceFailureActions failure;
  failure.resetPeriod = 0xFFFFFFFF;
  record.failureActions = failure;
  EXPECT_EQ(Make(record, true).attributes, With(kConfiguredDetailed, {{"resetFailCountAfter", "-1"}}));
  record.failureActions->rebootMessage = u"";
  record.failureActions->command = u"\u03A9";
  EXPECT_EQ(Make(record, true).attributes, With(kConfiguredDetailed, {{"resetFailCountAfter", "-1"},
                                                                       {"rebootMessage", ""},
                                                                       {"runProgram", "\xA9\x03"}}));
}

TEST(ServiceFailureActions, ActionNamesAndOtherNumbers) {
  EXPECT_EQ(ServiceFailureActionText({0, 0}), "0,None");
  EXPECT_EQ(ServiceFailureActionText({1, 1}), "1,Restart");
  EXPECT_EQ(ServiceFailureActionText({2, 2}), "2,Reboot");
  EXPECT_EQ(ServiceFailureActionText({3, 3}), "3,RunCommand");
  EXPECT_EQ(ServiceFailureActionText({4, 5}), "5,4");
  EXPECT_EQ(ServiceFailureActionText({0xFFFFFFFF, 0x80000000}), "-2147483648,4294967295");
}

TEST(ServiceFailureActions, NotShownWhenNotDetailed) {
  ServiceRecord record = ConfiguredRecord();
  record.failureActions = ServiceFailureActions{1, u"m", u"c", {{1, 1}}};
  record.description = u"d";
  EXPECT_EQ(Make(record, false).attributes, (Pairs{{"displayName", "d"},
                                                   {"running", "true"},
                                                   {"binaryPathName", "b"},
                                                   {"startType", "2"},
                                                   {"serviceType", "16"},
                                                   {"serviceStartName", "n"}}));
}

TEST(ServiceRecordGaps, NullDisplayNameReadsEmptyAndProcessIdIsSigned) {
  ServiceRecord record;
  record.keyName = "mlfilter";
  record.currentState = 4;
  record.processId = 0xFFFFFFFF;
  EXPECT_EQ(Make(record, true).attributes, (Pairs{{"displayName", ""},
                                                  {"running", "true"},
                                                  {"processId", "-1"},
                                                  {"state", "4"},
                                                  {"stateFriendly", "running"}}));
}

// A service that cannot be opened keeps its first attributes only.
TEST(ServiceRecordGaps, UnopenedServiceStopsAfterItsFirstAttributes) {
  ServiceRecord record;
  record.keyName = "gone";
  record.displayName = "Gone";
  record.currentState = 1;
  EXPECT_EQ(Make(record, false).attributes, (Pairs{{"displayName", "Gone"}, {"running", "false"}}));
}

// The configuration failing alone: the description and failure actions
// read after it still stand.
TEST(ServiceRecordGaps, ConfigurationMissingAloneLeavesTheRest) {
  ServiceRecord record = ConfiguredRecord();
  record.config.reset();
  record.description = u"Desc";
  record.failureActions = ServiceFailureActions{5, std::nullopt, std::nullopt, {}};
  EXPECT_EQ(Make(record, true).attributes, (Pairs{{"displayName", "d"},
                                                  {"running", "true"},
                                                  {"processId", "10"},
                                                  {"state", "4"},
                                                  {"stateFriendly", "running"},
                                                  {"description", "D"},
                                                  {"resetFailCountAfter", "5"}}));
}

TEST(ServiceRecordGaps, DescriptionOrFailureActionsMissingAlone) {
  ServiceRecord record = ConfiguredRecord();
  record.failureActions = ServiceFailureActions{5, std::nullopt, std::nullopt, {{0, 9}}};
  EXPECT_EQ(Make(record, true).attributes,
            With(kConfiguredDetailed, {{"resetFailCountAfter", "5"}, {"firstFailure", "9,None"}}));
  record.failureActions.reset();
  record.description = u"Desc";
  EXPECT_EQ(Make(record, true).attributes, With(kConfiguredDetailed, {{"description", "D"}}));
}

}  // namespace
