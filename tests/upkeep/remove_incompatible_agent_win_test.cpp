// RemoveIncompatibleAgent against the keys the family's other agents leave:
// the firewall client refuses the install before anything else, and the
// ml_agent service's display name says which agent is there.
#include "upkeep/remove_incompatible_agent_win.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "corvel_host_win.h"
#include "sim/stand_in_key.h"
#include "util/captured_log.h"

namespace {

using namespace corvel_host;
using Lines = std::vector<std::string>;

class RemoveIncompatibleAgentTest : public ::testing::Test {
 protected:
  void SetUp() override { RestoreHost(); }
  void TearDown() override { RestoreHost(); }

  // Nothing was started: no tool's launch in the whole log.
  bool LaunchedNothing() { return log.Text().find("PrepAndLaunchRedirectedChild") == std::string::npos; }

  CapturedLog log{5};
};

const char kUnknownLine[] =
    "RemoveIncompatibleAgent: Unknow MLA/Corvel exists, return error code -104 to BRVN patch agent.";

TEST_F(RemoveIncompatibleAgentTest, NeitherKeyIsAClearHost) {
  EXPECT_EQ(RemoveIncompatibleAgent(), 0);
  EXPECT_EQ(RemovalLog(log.Text()), Lines{});
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
}

TEST_F(RemoveIncompatibleAgentTest, PellorClientAloneRefuses) {
  SetString(kPellorClientKey, nullptr, L"");
  EXPECT_EQ(RemoveIncompatibleAgent(), -101);
  EXPECT_EQ(RemovalLog(log.Text()),
            Lines{"RemoveIncompatibleAgent: Pellor Client exists, return error code 101 to BRVN patch agent."});
}

TEST_F(RemoveIncompatibleAgentTest, PellorClientBeatsAnInstalledCorvel) {
  ASSERT_EQ(InstallCorvel("ZENT_CORVEL_MSI"), 0u);
  SetDword(kPellorClientKey, L"Version", 3);
  EXPECT_EQ(RemoveIncompatibleAgent(), -101);
  EXPECT_EQ(RemovalLog(log.Text()),
            Lines{"RemoveIncompatibleAgent: Pellor Client exists, return error code 101 to BRVN patch agent."});
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
  EXPECT_TRUE(ProductInstalled(kCorvelProductCode));
  EXPECT_EQ(zentsim::testing::StandInKey(L"corvel").String(L"Journal"), std::nullopt);
}

TEST_F(RemoveIncompatibleAgentTest, PellorClientBeatsAMarluneAgent) {
  SetString(kServiceKey, L"DisplayName", L"Halvane Marlune Agent");
  SetString(kPellorClientKey, nullptr, L"");
  EXPECT_EQ(RemoveIncompatibleAgent(), -101);
}

TEST_F(RemoveIncompatibleAgentTest, MarluneAgentRefuses) {
  SetString(kServiceKey, L"DisplayName", L"Halvane Marlune Agent");
  EXPECT_EQ(RemoveIncompatibleAgent(), -102);
  EXPECT_EQ(RemovalLog(log.Text()),
            (Lines{"RemoveIncompatibleAgent: Display name of agent: Halvane Marlune Agent",
                   "RemoveIncompatibleAgent: MLA exists, return error code -102 to BRVN patch agent."}));
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
}

TEST_F(RemoveIncompatibleAgentTest, OtherNameIsAnUnknownAgent) {
  SetString(kServiceKey, L"DisplayName", L"Halvane Agent");
  EXPECT_EQ(RemoveIncompatibleAgent(), -104);
  EXPECT_EQ(RemovalLog(log.Text()), (Lines{"RemoveIncompatibleAgent: Display name of agent: Halvane Agent", kUnknownLine}));
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
}

TEST_F(RemoveIncompatibleAgentTest, CorvelNameInOtherCaseIsAnUnknownAgent) {
  SetString(kServiceKey, L"DisplayName", L"corvel agent");
  EXPECT_EQ(RemoveIncompatibleAgent(), -104);
  EXPECT_EQ(RemovalLog(log.Text()), (Lines{"RemoveIncompatibleAgent: Display name of agent: corvel agent", kUnknownLine}));
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
}

TEST_F(RemoveIncompatibleAgentTest, MarluneNameInOtherCaseIsAnUnknownAgent) {
  SetString(kServiceKey, L"DisplayName", L"HALVANE MARLUNE AGENT");
  EXPECT_EQ(RemoveIncompatibleAgent(), -104);
  EXPECT_EQ(RemovalLog(log.Text()),
            (Lines{"RemoveIncompatibleAgent: Display name of agent: HALVANE MARLUNE AGENT", kUnknownLine}));
}

TEST_F(RemoveIncompatibleAgentTest, ServiceWithoutDisplayNameIsAnUnknownAgent) {
  SetDword(kServiceKey, L"Start", 3);
  EXPECT_EQ(RemoveIncompatibleAgent(), -104);
  EXPECT_EQ(RemovalLog(log.Text()), (Lines{"RemoveIncompatibleAgent: Display name of agent: ", kUnknownLine}));
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
}

TEST_F(RemoveIncompatibleAgentTest, DisplayNameOfAnotherTypeIsAnUnknownAgent) {
  // A DWORD read as text: its bytes as they stand, 'C' and a zero here.
  SetDword(kServiceKey, L"DisplayName", 0x43);
  EXPECT_EQ(RemoveIncompatibleAgent(), -104);
  EXPECT_EQ(RemovalLog(log.Text()), (Lines{"RemoveIncompatibleAgent: Display name of agent: C", kUnknownLine}));
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
}

TEST_F(RemoveIncompatibleAgentTest, TenThousandCharacterDisplayNameIsAnUnknownAgent) {
  std::wstring name = L"Corvel Agent" + std::wstring(10000 - 12, L'x');
  SetString(kServiceKey, L"DisplayName", name);
  EXPECT_EQ(RemoveIncompatibleAgent(), -104);
  EXPECT_EQ(RemovalLog(log.Text()),
            (Lines{"RemoveIncompatibleAgent: Display name of agent: Corvel Agent" + std::string(10000 - 12, 'x'),
                   kUnknownLine}));
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
}

TEST_F(RemoveIncompatibleAgentTest, CorvelServiceWithoutAnyProductCodeIsNotRemoved) {
  SetString(kServiceKey, L"DisplayName", L"Corvel Agent");
  EXPECT_EQ(RemoveIncompatibleAgent(), 130);
  EXPECT_EQ(RemovalLog(log.Text()), (Lines{"RemoveIncompatibleAgent: Display name of agent: Corvel Agent",
                                           "RemoveIncompatibleAgent: Corvel exists, start to uninstall it",
                                           "RemoveCorvel: Can not find corvel guid",
                                           "RemoveCorvel: Can not find corvel and hvcorvel guid"}));
  EXPECT_TRUE(LaunchedNothing()) << log.Text();
}

}  // namespace
