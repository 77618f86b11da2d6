// AttrMap and the maps of RawConfig: bytewise key order, first insertion
// stands.
#include "policy/attr_map.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

TEST(AttrMapOrder, KeysSortBytewiseSoTenComesBeforeNine) {
  AttrMap map;
  InsertAttr(map, "9", "nine");
  InsertAttr(map, "10", "ten");
  InsertAttr(map, "1", "one");
  std::vector<std::string> keys;
  for (const auto& [key, value] : map) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::string>{"1", "10", "9"}));
}

TEST(AttrMapOrder, UpperCaseSortsBeforeLowerCaseAndHighBytesLast) {
  AttrMap map;
  InsertAttr(map, "b", "");
  InsertAttr(map, "\xC3\xA9", "");
  InsertAttr(map, "a", "");
  InsertAttr(map, "B", "");
  InsertAttr(map, "ab", "");
  std::vector<std::string> keys;
  for (const auto& [key, value] : map) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::string>{"B", "a", "ab", "b", "\xC3\xA9"}));
}

TEST(AttrMapInsertion, FirstValueOfAKeyStands) {
  AttrMap map;
  InsertAttr(map, "value", "first");
  InsertAttr(map, "value", "second");
  EXPECT_EQ(map.size(), 1u);
  EXPECT_EQ(map.at("value"), "first");
}

TEST(AttrMapInsertion, AllAtOnceKeepsPresentValuesAndTheFirstOfTheBatch) {
  AttrMap map{{"m", "present"}};
  std::vector<std::pair<std::string_view, std::string_view>> batch{
      {"z", "1"}, {"m", "new"}, {"a", "first"}, {"a", "second"}, {"10", "ten"}, {"9", "nine"}};
  map.InsertAll(batch);
  std::vector<std::pair<std::string, std::string>> entries(map.begin(), map.end());
  EXPECT_EQ(entries, (std::vector<std::pair<std::string, std::string>>{
                         {"10", "ten"}, {"9", "nine"}, {"a", "first"}, {"m", "present"}, {"z", "1"}}));
}

TEST(AttrMapIndexInsertion, FirstEntryOfAKeyStands) {
  AttrMapIndex index;
  auto first = std::make_unique<AttrMap>(AttrMap{{"name", "first"}});
  const AttrMap* firstAddress = first.get();
  InsertAttrMap(index, "7", std::move(first));
  InsertAttrMap(index, "7", std::make_unique<AttrMap>(AttrMap{{"name", "second"}}));
  ASSERT_EQ(index.size(), 1u);
  EXPECT_EQ(index.at("7").get(), firstAddress);
  EXPECT_EQ(index.at("7")->at("name"), "first");
}
