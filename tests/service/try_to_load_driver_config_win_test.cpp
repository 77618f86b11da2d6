// TryToLoadDriverConfig: the rules last compiled, config.rbf in the working
// directory, go to the driver through a handle of their own.
#include "service/try_to_load_driver_config_win.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "rule_file_bytes.h"
#include "stand_in_key.h"
#include "support/temp_folder_win.h"
#include "util/captured_log.h"
#include "util/whole_file.h"

namespace {

using zentsim::testing::RuleFileBytes;
using zentsim::testing::SimScope;
using zentsim::testing::StandInKey;

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }

class TryToLoadDriverConfigTest : public ::testing::Test {
 protected:
  void SetUp() override {
    s_Settings.workingDirectory = folder;
    RemoveDirectoryW(rbfPath.c_str());
    DeleteFileW(rbfPath.c_str());
  }
  void TearDown() override {
    RemoveDirectoryW(rbfPath.c_str());
    DeleteFileW(rbfPath.c_str());
  }

  bool Logged(const std::string& line) { return log.Text().find("][TryToLoadDriverConfig:") != std::string::npos &&
                                                log.Text().find(line) != std::string::npos; }

  SimScope scope;
  StandInKey mli = scope.Key(L"mli");
  CapturedLog log{4};
  std::wstring folder = MakeTempFolder(L"try_load");
  std::wstring rbfPath = folder + L"\\config.rbf";
  std::string rules = RuleFileBytes("PacketEngine\n  packetFilter id=\"1\" action=\"1\"\n", 2);
};

TEST_F(TryToLoadDriverConfigTest, LoadsTheRuleFileIntoTheDriver) {
  ASSERT_TRUE(putStringToFile(rbfPath, rules));
  TryToLoadDriverConfig();
  EXPECT_EQ(mli.Binary(L"LoadedRuleFile"), rules);
  EXPECT_TRUE(Logged("] Load " + Narrow(rbfPath) + " to driver successfully.\n")) << log.Text();
  EXPECT_EQ(mli.Dword(L"Opened"), 1u);
  EXPECT_EQ(mli.Dword(L"Closed"), 1u);
  // The rules stay on the disk for the next start.
  EXPECT_NE(GetFileAttributesW(rbfPath.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(TryToLoadDriverConfigTest, RejectingDriverIsLogged) {
  ASSERT_TRUE(putStringToFile(rbfPath, rules));
  mli.Set(L"LoadConfigFails", 1359);
  TryToLoadDriverConfig();
  EXPECT_TRUE(Logged("] Unable to load .rbf file to driver.\n")) << log.Text();
  EXPECT_NE(log.Text().find("][SendConfig:"), std::string::npos);
  EXPECT_NE(log.Text().find("] failed to load '" + Narrow(rbfPath) +
                            "', rc=1359\nThis is probably because the version doesn't match.\n"),
            std::string::npos)
      << log.Text();
  EXPECT_EQ(mli.Binary(L"LoadedRuleFile"), std::nullopt);
  EXPECT_EQ(mli.Dword(L"Closed"), 1u);
}

TEST_F(TryToLoadDriverConfigTest, NoRuleFileLeavesTheDriverAlone) {
  TryToLoadDriverConfig();
  EXPECT_TRUE(Logged("] Config file (" + Narrow(rbfPath) + ") does not exist or is a directory.\n")) << log.Text();
  EXPECT_EQ(mli.Dword(L"Opened"), std::nullopt);
}

TEST_F(TryToLoadDriverConfigTest, DirectoryNamedLikeTheRuleFileIsNoRuleFile) {
  ASSERT_TRUE(CreateDirectoryW(rbfPath.c_str(), nullptr));
  TryToLoadDriverConfig();
  EXPECT_TRUE(Logged("] Config file (" + Narrow(rbfPath) + ") does not exist or is a directory.\n")) << log.Text();
  EXPECT_EQ(mli.Dword(L"Opened"), std::nullopt);
}

TEST_F(TryToLoadDriverConfigTest, UnreachableDriverIsLogged) {
  ASSERT_TRUE(putStringToFile(rbfPath, rules));
  mli.Set(L"OpenFails", 1);
  TryToLoadDriverConfig();
  EXPECT_TRUE(Logged("] Can't talk to driver.\nIs it loaded? Are you root?\n")) << log.Text();
  EXPECT_EQ(mli.Dword(L"ConfigLoads"), std::nullopt);
}

TEST_F(TryToLoadDriverConfigTest, DefaultLevelLogsNoSuccessDetail) {
  s_Settings.DebugLevel = 3;
  ASSERT_TRUE(putStringToFile(rbfPath, rules));
  TryToLoadDriverConfig();
  EXPECT_TRUE(Logged("] Load " + Narrow(rbfPath) + " to driver successfully.\n")) << log.Text();
  EXPECT_EQ(log.Text().find("config has been loaded"), std::string::npos) << log.Text();
}

}  // namespace
