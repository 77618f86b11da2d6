// The environment family's Windows half under Wine: the handler reports the
// C runtime's own array, in its order, a variable set through the runtime
// among it.
#include <stdlib.h>

#include <gtest/gtest.h>
#include <tinyxml2.h>

#include <string>
#include <utility>
#include <vector>

#include "metadata/get_hmd_environment.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs Reported() {
  tinyxml2::XMLDocument document;
  tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
  document.InsertEndChild(results);
  EXPECT_TRUE(GetHmdEnvironment(document, results, "e"));
  const tinyxml2::XMLElement* result = results->FirstChildElement("HostMetaDataQueryResult");
  EXPECT_STREQ(result->Attribute("commandVersion"), "1");
  EXPECT_NE(result->Attribute("hash"), nullptr);
  Pairs pairs;
  for (const tinyxml2::XMLElement* object = result->FirstChildElement("HostMetaDatas")->FirstChildElement(); object;
       object = object->NextSiblingElement()) {
    EXPECT_STREQ(object->Attribute("type"), "environmentVariable");
    pairs.emplace_back(object->Attribute("identifier"),
                       object->FirstChildElement("Attributes")->FirstChildElement("Attribute")->Attribute("value"));
  }
  return pairs;
}

TEST(GetHmdEnvironment, ReportsTheRuntimesArrayInItsOrder) {
  ASSERT_EQ(_putenv("ZENT_WIN_TEST_EQ=a=b"), 0);
  Pairs reported = Reported();
  Pairs expected;
  for (char** entry = _environ; *entry != nullptr; ++entry) {
    std::string text = *entry;
    size_t equals = text.find('=');
    expected.emplace_back(text.substr(0, equals), equals == std::string::npos ? "" : text.substr(equals + 1));
  }
  EXPECT_EQ(reported, expected);
  int found = 0;
  for (const auto& [name, value] : reported) {
    if (name == "ZENT_WIN_TEST_EQ") {
      EXPECT_EQ(value, "a=b");
      ++found;
    }
  }
  EXPECT_EQ(found, 1);
}

}  // namespace
