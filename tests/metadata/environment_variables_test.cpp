// The environment family's splitter and document, on entries written by
// hand, among them the forms the C runtime never hands over ("=C:=C:\dir"
// entries, an entry without "=").
#include "metadata/environment_variables.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <string>

namespace {

TEST(EnvironmentEntrySplit, NameBeforeTheFirstEqualsValueAfter) {
  EnvironmentVariable variable = SplitEnvironmentEntry("PATH=C:\\windows;C:\\bin");
  EXPECT_EQ(variable.name, "PATH");
  EXPECT_EQ(variable.value, "C:\\windows;C:\\bin");
}

TEST(EnvironmentEntrySplit, LaterEqualsSignsStayInTheValue) {
  EnvironmentVariable variable = SplitEnvironmentEntry("ZENT_EQ=a=b==c");
  EXPECT_EQ(variable.name, "ZENT_EQ");
  EXPECT_EQ(variable.value, "a=b==c");
}

TEST(EnvironmentEntrySplit, LeadingEqualsGivesAnEmptyName) {
  EnvironmentVariable variable = SplitEnvironmentEntry("=C:=C:\\dir");
  EXPECT_EQ(variable.name, "");
  EXPECT_EQ(variable.value, "C:=C:\\dir");
}

TEST(EnvironmentEntrySplit, NoEqualsGivesTheWholeEntryAsNameAndAnEmptyValue) {
  EnvironmentVariable variable = SplitEnvironmentEntry("BARE");
  EXPECT_EQ(variable.name, "BARE");
  EXPECT_EQ(variable.value, "");
}

TEST(EnvironmentEntrySplit, EmptyValue) {
  EnvironmentVariable variable = SplitEnvironmentEntry("EMPTY=");
  EXPECT_EQ(variable.name, "EMPTY");
  EXPECT_EQ(variable.value, "");
}

TEST(EnvironmentEntrySplit, AnsiBytesStayAsTheyAre) {
  EnvironmentVariable variable = SplitEnvironmentEntry("CAF\xc9=\xe9t\xe9");
  EXPECT_EQ(variable.name, "CAF\xc9");
  EXPECT_EQ(variable.value, "\xe9t\xe9");
}

std::string Printed(const tinyxml2::XMLDocument& document) {
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return printer.CStr();
}

TEST(ReportEnvironment, OneObjectPerEntryInTheArraysOrderWithItsHash) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  const char* entries[] = {"PATH=C:\\a", "=C:=C:\\", "BARE", nullptr};
  EXPECT_TRUE(ReportEnvironment(document, results, "env", entries));
  // SHA-1 of "environmentVariablePATHvalueC:\a" "environmentVariablevalueC:=C:\"
  // "environmentVariableBAREvalue".
  EXPECT_EQ(Printed(document),
            "<HostMetaDataQueryResults>\n"
            "    <HostMetaDataQueryResult commandVersion=\"1\" id=\"env\" hashAlg=\"SHA1\" "
            "hash=\"13:DB:2E:54:B9:92:CA:B1:AA:8C:56:93:85:22:9D:DD:78:BA:AF:3C\">\n"
            "        <HostMetaDatas>\n"
            "            <HostMetaData type=\"environmentVariable\" identifier=\"PATH\">\n"
            "                <Attributes>\n"
            "                    <Attribute name=\"value\" value=\"C:\\a\"/>\n"
            "                </Attributes>\n"
            "            </HostMetaData>\n"
            "            <HostMetaData type=\"environmentVariable\" identifier=\"\">\n"
            "                <Attributes>\n"
            "                    <Attribute name=\"value\" value=\"C:=C:\\\"/>\n"
            "                </Attributes>\n"
            "            </HostMetaData>\n"
            "            <HostMetaData type=\"environmentVariable\" identifier=\"BARE\">\n"
            "                <Attributes>\n"
            "                    <Attribute name=\"value\" value=\"\"/>\n"
            "                </Attributes>\n"
            "            </HostMetaData>\n"
            "        </HostMetaDatas>\n"
            "    </HostMetaDataQueryResult>\n"
            "</HostMetaDataQueryResults>\n");
}

TEST(ReportEnvironment, EmptyEnvironmentHasTheHashOfNothing) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  const char* entries[] = {nullptr};
  EXPECT_TRUE(ReportEnvironment(document, results, "e0", entries));
  const tinyxml2::XMLElement* result = results->FirstChildElement("HostMetaDataQueryResult");
  ASSERT_NE(result, nullptr);
  EXPECT_STREQ(result->Attribute("hash"), "DA:39:A3:EE:5E:6B:4B:0D:32:55:BF:EF:95:60:18:90:AF:D8:07:09");
  EXPECT_EQ(result->FirstChildElement("HostMetaDatas")->FirstChildElement(), nullptr);
}

}  // namespace
