// Which uninstall subkeys become "installedSoftware" objects, and the text of
// each attribute, over subkeys held in a table of the test's own. The
// expectations are written from the query's rules.
#include "metadata/installed_software.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "metadata/result_shell.h"
#include "util/captured_log.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

// One stored value: its type, what a text read hands over, what a DWORD
// read hands over, and whether reads work at all.
struct FakeValue {
  uint32_t type = kUninstallRegSz;
  std::string text;
  uint32_t number = 0;
  bool readable = true;
};
using FakeKey = std::map<std::string, FakeValue>;

FakeValue Text(const std::string& text) { return {kUninstallRegSz, text, 0, true}; }
FakeValue Number(uint32_t number, uint32_t type = kUninstallRegDword) { return {type, "", number, true}; }

UninstallValueReads ReadsOf(const FakeKey& key) {
  return {
      [&key](const std::string& name) { return key.count(name) != 0; },
      [&key](const std::string& name) {
        auto found = key.find(name);
        return found == key.end() ? 0u : found->second.type;
      },
      [&key](const std::string& name, std::string& text) {
        auto found = key.find(name);
        if (found == key.end() || !found->second.readable) return false;
        text = found->second.text;
        return true;
      },
      [&key](const std::string& name, uint32_t& value) {
        auto found = key.find(name);
        if (found == key.end() || !found->second.readable) return false;
        value = found->second.number;
        return true;
      },
  };
}

// A subkey that is listed, with nothing but what listing needs.
FakeKey Listed() {
  return {{"DisplayName", Text("Zent Probe")}, {"UninstallString", Text("C:\\probe\\uninstall.exe")}};
}

struct Object {
  bool added = false;
  std::string identifier;
  Pairs attributes;
};

Object Make(const FakeKey& key, const std::string& subkeyName = "ZentProbe") {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  HmdResultShell shell = AddResultShell(document, results, "2", "1");
  Object out;
  out.added = AddInstalledSoftwareObject(document, shell.hostMetaDatas, subkeyName,
                                         "HKEY_LOCAL_MACHINE\\Uninstall\\" + subkeyName, ReadsOf(key));
  const tinyxml2::XMLElement* object = shell.hostMetaDatas->FirstChildElement("HostMetaData");
  if (object == nullptr) return out;
  EXPECT_STREQ(object->Attribute("type"), "installedSoftware");
  out.identifier = object->Attribute("identifier");
  for (const tinyxml2::XMLElement* a = object->FirstChildElement("Attributes")->FirstChildElement(); a;
       a = a->NextSiblingElement()) {
    out.attributes.emplace_back(a->Attribute("name"), a->Attribute("value"));
  }
  return out;
}

Pairs With(const std::string& name, const std::string& value) { return {{"name", "Zent Probe"}, {name, value}}; }

TEST(UninstallListing, DisplayNameAndUninstallStringListTheSubkey) {
  Object object = Make(Listed(), "{A1B2}");
  EXPECT_TRUE(object.added);
  EXPECT_EQ(object.identifier, "{A1B2}");
  EXPECT_EQ(object.attributes, (Pairs{{"name", "Zent Probe"}}));
}

TEST(UninstallListing, SystemComponentZeroHidesTheProgram) {
  FakeKey key = Listed();
  key["SystemComponent"] = Number(0);
  Object object = Make(key);
  EXPECT_FALSE(object.added);
  EXPECT_EQ(object.identifier, "");
}

TEST(UninstallListing, SystemComponentOfAnyTypeHidesTheProgram) {
  FakeKey key = Listed();
  key["SystemComponent"] = Text("");
  EXPECT_FALSE(Make(key).added);
}

TEST(UninstallListing, DisplayNameWithoutUninstallStringIsNotListed) {
  EXPECT_FALSE(Make({{"DisplayName", Text("Zent Probe")}}).added);
}

TEST(UninstallListing, UninstallStringWithoutDisplayNameIsNotListed) {
  EXPECT_FALSE(Make({{"UninstallString", Text("x")}}).added);
}

TEST(UninstallListing, UnreadableDisplayNameListsTheObjectWithoutName) {
  FakeKey key = Listed();
  key["DisplayName"].readable = false;
  Object object = Make(key);
  EXPECT_TRUE(object.added);
  EXPECT_EQ(object.attributes, Pairs{});
}

TEST(UninstallAttributes, AllOfThemInTheirOrder) {
  FakeKey key = Listed();
  key["DisplayVersion"] = Text("1.2.3");
  key["InstallDate"] = Text("20240131");
  key["Publisher"] = Text("Halvane");
  key["InstallLocation"] = Text("C:\\Program Files\\Probe");
  key["ParentKeyName"] = Text("ZentSuite");
  key["EstimatedSize"] = Number(1000);
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent Probe"},
                                         {"version", "1.2.3"},
                                         {"installedDate", "2024-01-31"},
                                         {"manufacturer", "Halvane"},
                                         {"installLocation", "C:\\Program Files\\Probe"},
                                         {"parent", "ZentSuite"},
                                         {"size", "1024000"}}));
}

TEST(UninstallAttributes, TextsEndAtTheirFirstZero) {
  FakeKey key = Listed();
  key["DisplayName"] = Text(std::string("Zent\0Probe", 10));
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent"}}));
}

TEST(UninstallAttributes, EmptyPublisherAndParentStay) {
  FakeKey key = Listed();
  key["Publisher"] = Text("");
  key["ParentKeyName"] = Text("");
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent Probe"}, {"manufacturer", ""}, {"parent", ""}}));
}

TEST(UninstallAttributes, EmptyInstallLocationIsLeftOut) {
  FakeKey key = Listed();
  key["InstallLocation"] = Text("");
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent Probe"}}));
}

TEST(UninstallVersion, DisplayVersionWinsOverTheNumbers) {
  FakeKey key = Listed();
  key["DisplayVersion"] = Text("7.0 beta");
  key["Version"] = Number(0x01020003);
  key["VersionMajor"] = Number(9);
  EXPECT_EQ(Make(key).attributes, With("version", "7.0 beta"));
}

TEST(UninstallVersion, UnreadableDisplayVersionFallsBackToVersion) {
  FakeKey key = Listed();
  key["DisplayVersion"] = Text("7.0");
  key["DisplayVersion"].readable = false;
  key["Version"] = Number(0x01020003);
  EXPECT_EQ(Make(key).attributes, With("version", "1.2.3"));
}

TEST(UninstallVersion, VersionIsTopByteNextByteLowWord) {
  FakeKey key = Listed();
  key["Version"] = Number(0x0A0B0C0D);
  EXPECT_EQ(Make(key).attributes, With("version", "10.11.3085"));
}

TEST(UninstallVersion, BigEndianVersionIsTakenAsStored) {
  FakeKey key = Listed();
  key["Version"] = Number(0x0A0B0C0D, kUninstallRegDwordBigEndian);
  EXPECT_EQ(Make(key).attributes, With("version", "10.11.3085"));
}

TEST(UninstallVersion, TextVersionIsPassedOverForVersionMajor) {
  FakeKey key = Listed();
  key["Version"] = Text("1.0");
  key["VersionMajor"] = Number(5);
  EXPECT_EQ(Make(key).attributes, With("version", "5"));
}

TEST(UninstallVersion, VersionMajorAloneIsItsNumber) {
  FakeKey key = Listed();
  key["VersionMajor"] = Number(5);
  EXPECT_EQ(Make(key).attributes, With("version", "5"));
}

TEST(UninstallVersion, VersionMajorAndMinorAreJoinedByADot) {
  FakeKey key = Listed();
  key["VersionMajor"] = Number(5);
  key["VersionMinor"] = Number(12, kUninstallRegDwordBigEndian);
  EXPECT_EQ(Make(key).attributes, With("version", "5.12"));
}

TEST(UninstallVersion, TextVersionMinorIsLeftOut) {
  FakeKey key = Listed();
  key["VersionMajor"] = Number(5);
  key["VersionMinor"] = Text("12");
  EXPECT_EQ(Make(key).attributes, With("version", "5"));
}

TEST(UninstallVersion, NumbersAreUnsigned) {
  FakeKey key = Listed();
  key["VersionMajor"] = Number(0xFFFFFFFF);
  key["VersionMinor"] = Number(0x80000000);
  EXPECT_EQ(Make(key).attributes, With("version", "4294967295.2147483648"));
}

TEST(UninstallVersion, NoSourceNoAttribute) {
  FakeKey key = Listed();
  key["VersionMajor"] = Text("5");
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent Probe"}}));
}

TEST(UninstallInstalledDate, EightDigitsGetDashes) { EXPECT_EQ(InstalledDateText("20240131"), "2024-01-31"); }

TEST(UninstallInstalledDate, SevenDigitsStay) { EXPECT_EQ(InstalledDateText("2024013"), "2024013"); }

TEST(UninstallInstalledDate, NineDigitsStay) { EXPECT_EQ(InstalledDateText("202401311"), "202401311"); }

TEST(UninstallInstalledDate, EightCharactersNotAllDigitsStay) {
  EXPECT_EQ(InstalledDateText("2024-1-3"), "2024-1-3");
  EXPECT_EQ(InstalledDateText("2024013a"), "2024013a");
}

TEST(UninstallInstalledDate, EmptyTextStaysEmptyAndIsReported) {
  FakeKey key = Listed();
  key["InstallDate"] = Text("");
  EXPECT_EQ(Make(key).attributes, With("installedDate", ""));
}

TEST(UninstallInstalledDate, ExpandableTextIsFormattedToo) {
  FakeKey key = Listed();
  key["InstallDate"] = {kUninstallRegExpandSz, "19991231", 0, true};
  EXPECT_EQ(Make(key).attributes, With("installedDate", "1999-12-31"));
}

TEST(UninstallInstalledDate, DwordIsItsDecimalNumber) {
  FakeKey key = Listed();
  key["InstallDate"] = Number(20240131);
  EXPECT_EQ(Make(key).attributes, With("installedDate", "20240131"));
}

TEST(UninstallInstalledDate, DwordIsUnsigned) { EXPECT_EQ(InstalledDateNumberText(0xFFFFFFFF, false), "4294967295"); }

TEST(UninstallInstalledDate, BigEndianDwordHasItsBytesReversed) {
  FakeKey key = Listed();
  // 20240131 is 0x0134D703, stored big-endian as 01 34 D7 03, which reads
  // as stored as 0x03D73401.
  key["InstallDate"] = Number(0x03D73401, kUninstallRegDwordBigEndian);
  EXPECT_EQ(Make(key).attributes, With("installedDate", "20240131"));
}

TEST(UninstallInstalledDate, UnreadableTextIsLeftOut) {
  FakeKey key = Listed();
  key["InstallDate"] = Text("20240131");
  key["InstallDate"].readable = false;
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent Probe"}}));
}

TEST(UninstallInstalledDate, OtherTypeIsLeftOutAndLoggedAtLevelThree) {
  CapturedLog log(3);
  FakeKey key = Listed();
  key["InstallDate"] = {3, "", 0, true};
  EXPECT_EQ(Make(key, "Bin").attributes, (Pairs{{"name", "Zent Probe"}}));
  EXPECT_EQ(LogMessages(log.Text()),
            (std::vector<std::string>{
                "UninstallInstalledDate: Unsupported value type for HKEY_LOCAL_MACHINE\\Uninstall\\Bin\\InstallDate: 3"}));
}

TEST(UninstallInstalledDate, OtherTypeIsNotLoggedBelowLevelThree) {
  CapturedLog log(2);
  FakeKey key = Listed();
  key["InstallDate"] = {11, "", 0, true};
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent Probe"}}));
  EXPECT_EQ(log.Text(), "");
}

TEST(UninstallSize, KilobytesBecomeBytes) {
  FakeKey key = Listed();
  key["EstimatedSize"] = Number(1000);
  EXPECT_EQ(Make(key).attributes, With("size", "1024000"));
}

TEST(UninstallSize, TextSizeIsLeftOut) {
  FakeKey key = Listed();
  key["EstimatedSize"] = Text("1000");
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent Probe"}}));
}

TEST(UninstallSize, BigEndianSizeIsLeftOut) {
  FakeKey key = Listed();
  key["EstimatedSize"] = Number(1000, kUninstallRegDwordBigEndian);
  EXPECT_EQ(Make(key).attributes, (Pairs{{"name", "Zent Probe"}}));
}

TEST(UninstallSize, TakenAsSignedWithoutWrapping) {
  EXPECT_EQ(EstimatedSizeText(0xFFFFFFFF), "-1024");
  EXPECT_EQ(EstimatedSizeText(0x80000000), "-2199023255552");
  EXPECT_EQ(EstimatedSizeText(0x7FFFFFFF), "2199023254528");
  EXPECT_EQ(EstimatedSizeText(0), "0");
}

}  // namespace
