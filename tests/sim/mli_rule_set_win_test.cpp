// mli.dll's stand-in as the driver's rule set: it takes a rule file of the
// compiler's form, keeps it where tests read it back, and refuses on demand.
#include <windows.h>

#include "platform/mli.h"
#include "rule_file_bytes.h"
#include "stand_in_key.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using zentsim::testing::SimScope;
using zentsim::testing::StandInKey;
using zentsim::testing::RuleFileBytes;

const std::string kRules = "SystemSetting name=\"a\" value=\"1\"\nPacketEngine\n";

class MliRuleSet : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(handle, nullptr); }
  void TearDown() override { mli_close(handle); }

  int Load(const std::string& file) { return mli_load_config(handle, file.data(), static_cast<uint32_t>(file.size())); }

  std::string Error() {
    char text[128] = "unchanged";
    EXPECT_EQ(mli_get_error(handle, text, sizeof text), 0);
    return text;
  }

  SimScope scope;
  StandInKey mli = scope.Key(L"mli");
  MLI_HANDLE handle = mli_open();
};

TEST_F(MliRuleSet, LoadKeepsTheRuleFileAsTheRulesInForce) {
  std::string file = RuleFileBytes(kRules, 2);
  EXPECT_EQ(Load(file), 0);
  EXPECT_EQ(mli.Binary(L"LoadedRuleFile"), file);
  EXPECT_EQ(mli.Dword(L"LoadedRuleCount"), 2u);
  EXPECT_EQ(mli.Dword(L"ConfigLoads"), 1u);
}

TEST_F(MliRuleSet, LoadRefusesBytesThatAreNoRuleFile) {
  std::string file = "<fset/>";
  EXPECT_EQ(Load(file), -1);
  EXPECT_EQ(Error(), "not a rule file");
  EXPECT_EQ(mli.Binary(L"LoadedRuleFile"), std::nullopt);
}

TEST_F(MliRuleSet, LoadRefusesAnotherVersion) {
  EXPECT_EQ(Load(RuleFileBytes(kRules, 2, 2)), -1);
  EXPECT_EQ(Error(), "rule file version 2 not supported");
}

TEST_F(MliRuleSet, LoadRefusesChangedRules) {
  std::string file = RuleFileBytes(kRules, 2);
  file[file.size() - 3] = 'X';
  EXPECT_EQ(Load(file), -1);
  EXPECT_EQ(Error(), "rule file digest differs");
}

TEST_F(MliRuleSet, LoadRefusesACutFile) {
  std::string file = RuleFileBytes(kRules, 2);
  file.pop_back();
  EXPECT_EQ(Load(file), -1);
  EXPECT_EQ(Error(), "rule file length differs");
}

TEST_F(MliRuleSet, LoadRefusesAWrongRuleCount) {
  EXPECT_EQ(Load(RuleFileBytes(kRules, 3)), -1);
  EXPECT_EQ(Error(), "rule count differs");
}

TEST_F(MliRuleSet, LoadConfigFailsKnobIsTheResultAndKeepsTheEarlierRules) {
  std::string first = RuleFileBytes(kRules, 2);
  ASSERT_EQ(Load(first), 0);
  mli.Set(L"LoadConfigFails", 1359);
  EXPECT_EQ(Load(RuleFileBytes("PacketEngine\n", 1)), 1359);
  EXPECT_EQ(Error(), "rule file refused by driver");
  EXPECT_EQ(mli.Binary(L"LoadedRuleFile"), first);
  EXPECT_EQ(mli.Dword(L"ConfigLoads"), 1u);
}

TEST_F(MliRuleSet, ClearRemovesTheRules) {
  ASSERT_EQ(Load(RuleFileBytes(kRules, 2)), 0);
  EXPECT_EQ(mli_clear_config(handle), 0);
  EXPECT_EQ(mli.Binary(L"LoadedRuleFile"), std::nullopt);
  EXPECT_EQ(mli.Dword(L"LoadedRuleCount"), std::nullopt);
  EXPECT_EQ(mli.Dword(L"ConfigClears"), 1u);
}

TEST_F(MliRuleSet, ClearConfigFailsKnobIsTheResultAndKeepsTheRules) {
  std::string file = RuleFileBytes(kRules, 2);
  ASSERT_EQ(Load(file), 0);
  mli.Set(L"ClearConfigFails", 31);
  EXPECT_EQ(mli_clear_config(handle), 31);
  EXPECT_EQ(Error(), "clear refused by driver");
  EXPECT_EQ(mli.Binary(L"LoadedRuleFile"), file);
}

TEST_F(MliRuleSet, CallsOnAClosedHandleAreRefused) {
  MLI_HANDLE other = mli_open();
  mli_close(other);
  EXPECT_EQ(mli_load_config(other, kRules.data(), 4), ERROR_INVALID_HANDLE);
  EXPECT_EQ(mli_clear_config(other), ERROR_INVALID_HANDLE);
}

}  // namespace
