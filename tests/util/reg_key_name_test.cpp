#include "util/reg_key_name.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(RegistryKeyName, LongRootNameAndPath) {
  std::string name = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\ZentAgent";
  EXPECT_EQ(ExtractKeyName(name), 2);
  EXPECT_EQ(name, "SOFTWARE\\Halvane\\ZentAgent");
}

TEST(RegistryKeyName, ShortRootInLowerCaseAndClosingBackslash) {
  std::string name = "hkcu\\Software\\";
  EXPECT_EQ(ExtractKeyName(name), 1);
  EXPECT_EQ(name, "Software");
}

TEST(RegistryKeyName, EveryRootByBothNames) {
  const char* names[7][2] = {{"HKEY_CLASSES_ROOT", "HKCR"},   {"HKEY_CURRENT_USER", "HKCU"},
                             {"HKEY_LOCAL_MACHINE", "HKLM"},  {"HKEY_USERS", "HKU"},
                             {"HKEY_PERFORMANCE_DATA", "HKPD"}, {"HKEY_CURRENT_CONFIG", "HKCC"},
                             {"HKEY_DYN_DATA", "HKDD"}};
  for (int i = 0; i < 7; ++i) {
    for (const char* root : names[i]) {
      std::string name = std::string(root) + "\\a\\b";
      EXPECT_EQ(ExtractKeyName(name), i) << root;
      EXPECT_EQ(name, "a\\b");
    }
  }
}

TEST(RegistryKeyName, RootWithoutBackslashStandsOnClassesRootWithTheWholeText) {
  std::string name = "HKLM";
  EXPECT_EQ(ExtractKeyName(name), 0);
  EXPECT_EQ(name, "HKLM");
}

TEST(RegistryKeyName, UnknownRootKeepsTheWholeTextAsPath) {
  std::string name = "FOO\\bar";
  EXPECT_EQ(ExtractKeyName(name), 0);
  EXPECT_EQ(name, "FOO\\bar");
}

TEST(RegistryKeyName, RootAloneWithBackslashLeavesAnEmptyPath) {
  std::string name = "HKLM\\";
  EXPECT_EQ(ExtractKeyName(name), 2);
  EXPECT_EQ(name, "");
}

}  // namespace
