// The "directoryListing" result made from names: the entries text and the
// whole result, with its hash computed apart from the agent.
#include "metadata/directory_listing.h"

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <string>

namespace {

std::string Printed(const tinyxml2::XMLDocument& document) {
  tinyxml2::XMLPrinter printer;
  document.Print(&printer);
  return printer.CStr();
}

TEST(ListingEntries, EachNameEndsInABar) {
  std::string entries;
  AppendListingEntry(entries, "b.txt");
  AppendListingEntry(entries, "sub");
  EXPECT_EQ(entries, "b.txt|sub|");
}

TEST(ListingEntries, AnsiBytesStayAsTheyAre) {
  std::string entries;
  AppendListingEntry(entries, "caf\xe9.txt");
  EXPECT_EQ(entries, "caf\xe9.txt|");
}

TEST(DirectoryListingResult, WholeResult) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  AddDirectoryListingResult(document, results, "7", "C:\\d", "a|b|");
  // SHA-1 of "directoryListingC:\dentriesa|b|", by sha1sum.
  EXPECT_EQ(Printed(document),
            "<HostMetaDataQueryResults>\n"
            "    <HostMetaDataQueryResult commandVersion=\"1\" id=\"7\" hashAlg=\"SHA1\" "
            "hash=\"4A:D1:0B:89:AE:0E:A0:B6:5C:FB:92:A0:8F:20:CF:86:8C:B3:81:55\">\n"
            "        <HostMetaDatas>\n"
            "            <HostMetaData type=\"directoryListing\" identifier=\"C:\\d\">\n"
            "                <Attributes>\n"
            "                    <Attribute name=\"entries\" value=\"a|b|\"/>\n"
            "                </Attributes>\n"
            "            </HostMetaData>\n"
            "        </HostMetaDatas>\n"
            "    </HostMetaDataQueryResult>\n"
            "</HostMetaDataQueryResults>\n");
}

TEST(DirectoryListingResult, EmptyDirectoryHasAnEmptyEntriesValue) {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  AddDirectoryListingResult(document, results, "1", "C:\\empty", "");
  const tinyxml2::XMLElement* result = results->FirstChildElement("HostMetaDataQueryResult");
  const tinyxml2::XMLElement* attribute =
      result->FirstChildElement("HostMetaDatas")->FirstChildElement("HostMetaData")->FirstChildElement(
          "Attributes")->FirstChildElement("Attribute");
  EXPECT_STREQ(attribute->Attribute("name"), "entries");
  EXPECT_STREQ(attribute->Attribute("value"), "");
  // SHA-1 of "directoryListingC:\emptyentries", by sha1sum.
  EXPECT_STREQ(result->Attribute("hash"), "83:FE:8C:86:3F:E1:9A:74:B3:23:AE:3C:17:D0:F1:26:FD:F7:25:94");
}

}  // namespace
