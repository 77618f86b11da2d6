// ComputeHash and the result shell: what the server receives as a query's
// digest. Every expected digest here is the SHA-1 of the concatenation shown
// beside it, computed apart from the agent (sha1sum over those bytes).
#include "metadata/compute_hash.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <string>
#include <vector>

#include "metadata/result_shell.h"
#include "metadata_test_support.h"

namespace {

class ResultDocument : public ::testing::Test {
 protected:
  void SetUp() override {
    results = document.NewElement("HostMetaDataQueryResults");
    document.InsertEndChild(results);
  }
  // A result of one fileInfo object for C:\a.txt with these attributes.
  tinyxml2::XMLElement* FileResult(const std::string& id, const std::vector<std::pair<std::string, std::string>>& attrs) {
    HmdResultShell shell = AddResultShell(document, results, "2", id);
    tinyxml2::XMLElement* attributes = AddHostMetaData(document, shell.hostMetaDatas, "fileInfo", "C:\\a.txt");
    for (const auto& [name, value] : attrs) AddAttribute(document, attributes, name, value);
    return shell.result;
  }
  static std::string Hash(const tinyxml2::XMLElement* result) {
    const char* hash = result->Attribute("hash");
    return hash == nullptr ? "(none)" : hash;
  }
  static Strings AttributeNames(const tinyxml2::XMLElement* element) {
    Strings names;
    for (const tinyxml2::XMLAttribute* a = element->FirstAttribute(); a != nullptr; a = a->Next()) names.push_back(a->Name());
    return names;
  }
  static std::string Printed(const tinyxml2::XMLNode* node) {
    tinyxml2::XMLPrinter printer;
    node->Accept(&printer);
    return printer.CStr();
  }
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = nullptr;
};

TEST_F(ResultDocument, HashIsUpperCaseHexPairsJoinedByColons) {
  tinyxml2::XMLElement* result = FileResult("5", {{"size", "12"}, {"mode", "RW"}});
  ComputeHash(result);
  // fileInfo C:\a.txt size 12 mode RW
  EXPECT_EQ(Hash(result), "7A:B1:B4:B7:41:47:98:EB:89:AC:F5:29:38:DC:45:26:BB:3C:BB:74");
  EXPECT_EQ(Hash(result).size(), 59u);
}

TEST_F(ResultDocument, ShellAttributesInOrderWithHashFourth) {
  tinyxml2::XMLElement* result = FileResult("5", {{"size", "12"}, {"mode", "RW"}});
  ComputeHash(result);
  EXPECT_EQ(AttributeNames(result), (Strings{"commandVersion", "id", "hashAlg", "hash"}));
  EXPECT_EQ(Printed(result),
            "<HostMetaDataQueryResult commandVersion=\"2\" id=\"5\" hashAlg=\"SHA1\" "
            "hash=\"7A:B1:B4:B7:41:47:98:EB:89:AC:F5:29:38:DC:45:26:BB:3C:BB:74\">\n"
            "    <HostMetaDatas>\n"
            "        <HostMetaData type=\"fileInfo\" identifier=\"C:\\a.txt\">\n"
            "            <Attributes>\n"
            "                <Attribute name=\"size\" value=\"12\"/>\n"
            "                <Attribute name=\"mode\" value=\"RW\"/>\n"
            "            </Attributes>\n"
            "        </HostMetaData>\n"
            "    </HostMetaDatas>\n"
            "</HostMetaDataQueryResult>\n");
}

TEST_F(ResultDocument, SameObjectsSameHashWhateverTheId) {
  tinyxml2::XMLElement* first = FileResult("1", {{"size", "12"}, {"mode", "RW"}});
  tinyxml2::XMLElement* second = FileResult("some-other-id", {{"size", "12"}, {"mode", "RW"}});
  ComputeHash(first);
  ComputeHash(second);
  EXPECT_EQ(Hash(first), Hash(second));
  EXPECT_EQ(Hash(second), "7A:B1:B4:B7:41:47:98:EB:89:AC:F5:29:38:DC:45:26:BB:3C:BB:74");
}

TEST_F(ResultDocument, ChangedValueChangesTheHash) {
  tinyxml2::XMLElement* result = FileResult("1", {{"size", "13"}, {"mode", "RW"}});
  ComputeHash(result);
  // fileInfo C:\a.txt size 13 mode RW
  EXPECT_EQ(Hash(result), "0A:16:B6:4A:63:B2:26:9E:A9:B5:05:47:03:86:6A:25:8B:59:F8:64");
}

TEST_F(ResultDocument, SwappedAttributesChangeTheHash) {
  tinyxml2::XMLElement* result = FileResult("1", {{"mode", "RW"}, {"size", "12"}});
  ComputeHash(result);
  // fileInfo C:\a.txt mode RW size 12
  EXPECT_EQ(Hash(result), "6D:F0:CB:18:D5:64:51:0D:C2:14:26:39:A9:6A:1C:65:44:A6:E8:E7");
}

TEST_F(ResultDocument, EmptyValueCountsWithItsNameAlone) {
  tinyxml2::XMLElement* result = FileResult("1", {{"size", ""}, {"mode", "RW"}});
  ComputeHash(result);
  // fileInfo C:\a.txt size mode RW
  EXPECT_EQ(Hash(result), "82:4B:90:1D:4C:4C:A8:4D:2B:2C:70:D3:B4:5D:81:09:FC:B7:60:03");
}

TEST_F(ResultDocument, AttributeWithoutValueIsLeftOut) {
  tinyxml2::XMLElement* result = FileResult("1", {{"mode", "RW"}});
  tinyxml2::XMLElement* attributes = result->FirstChildElement("HostMetaDatas")->FirstChildElement("HostMetaData")
                                         ->FirstChildElement("Attributes");
  tinyxml2::XMLElement* nameOnly = document.NewElement("Attribute");
  nameOnly->SetAttribute("name", "size");
  attributes->InsertFirstChild(nameOnly);
  ComputeHash(result);
  // fileInfo C:\a.txt mode RW
  EXPECT_EQ(Hash(result), "AC:56:46:EA:54:04:A6:22:B0:C7:C5:62:36:B9:3F:D4:F5:A4:07:83");
}

TEST_F(ResultDocument, ObjectWithoutIdentifierCountsOnlyItsAttributes) {
  HmdResultShell shell = AddResultShell(document, results, "2", "1");
  tinyxml2::XMLElement* object = document.NewElement("HostMetaData");
  object->SetAttribute("type", "fileInfo");
  shell.hostMetaDatas->InsertEndChild(object);
  tinyxml2::XMLElement* attributes = document.NewElement("Attributes");
  object->InsertEndChild(attributes);
  AddAttribute(document, attributes, "size", "12");
  ComputeHash(shell.result);
  // size 12
  EXPECT_EQ(Hash(shell.result), "28:A1:4C:F1:B0:24:97:52:BD:C6:E4:25:47:CA:BD:CF:04:C1:40:D7");
}

TEST_F(ResultDocument, ObjectsInDocumentOrder) {
  HmdResultShell shell = AddResultShell(document, results, "2", "1");
  AddAttribute(document, AddHostMetaData(document, shell.hostMetaDatas, "fileInfo", "C:\\a.txt"), "size", "12");
  AddAttribute(document, AddHostMetaData(document, shell.hostMetaDatas, "fileInfo", "C:\\b.txt"), "size", "7");
  ComputeHash(shell.result);
  // fileInfo C:\a.txt size 12 fileInfo C:\b.txt size 7
  EXPECT_EQ(Hash(shell.result), "1C:C3:36:2F:93:E3:3C:75:8F:D2:4A:D2:EA:84:AC:25:A4:D8:A4:B9");
}

TEST_F(ResultDocument, OtherElementsAreWalkedThrough) {
  tinyxml2::XMLElement* result = FileResult("1", {{"size", "12"}});
  tinyxml2::XMLElement* extra = document.NewElement("Extra");
  result->FirstChildElement("HostMetaDatas")->InsertEndChild(extra);
  AddAttribute(document, extra, "x", "y");
  ComputeHash(result);
  // fileInfo C:\a.txt size 12 x y
  EXPECT_EQ(Hash(result), "57:CB:6D:26:67:F2:65:99:98:A1:56:2E:C4:A8:1B:F6:B4:A8:A2:69");
}

TEST_F(ResultDocument, ResultWithoutObjectsHashesNothing) {
  HmdResultShell shell = AddResultShell(document, results, "3", "1");
  ComputeHash(shell.result);
  // SHA-1 of no bytes.
  EXPECT_EQ(Hash(shell.result), "DA:39:A3:EE:5E:6B:4B:0D:32:55:BF:EF:95:60:18:90:AF:D8:07:09");
}

TEST_F(ResultDocument, ValuesAreHashedAsTheirUtf8Bytes) {
  tinyxml2::XMLElement* result = FileResult("1", {{"owner", "Jos\xC3\xA9"}});
  ComputeHash(result);
  // fileInfo C:\a.txt owner Jos C3 A9
  EXPECT_EQ(Hash(result), "EF:99:C1:F2:2E:CE:BD:17:68:B0:59:8A:4B:40:9A:5F:0F:F7:D6:A4");
}

TEST_F(ResultDocument, AttributeSetsNameThenValue) {
  tinyxml2::XMLElement* attributes = document.NewElement("Attributes");
  AddAttribute(document, attributes, "path", "a<b&\"c'");
  EXPECT_EQ(Printed(attributes),
            "<Attributes>\n    <Attribute name=\"path\" value=\"a&lt;b&amp;&quot;c&apos;\"/>\n</Attributes>\n");
  EXPECT_STREQ(attributes->FirstChildElement("Attribute")->Attribute("value"), "a<b&\"c'");
}

}  // namespace
