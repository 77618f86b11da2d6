// Corvel's install folder as its registry key records it, and mla_control
// run from it: a folder without its closing backslash, a file, nothing.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "corvel_host_win.h"
#include "sim/stand_in_key.h"
#include "upkeep/remove_corvel_win.h"
#include "util/captured_log.h"

namespace {

using namespace corvel_host;
using Lines = std::vector<std::string>;

std::string Narrow(const std::wstring& text) { return std::string(text.begin(), text.end()); }
std::wstring Widen(const char* text) { return std::wstring(text, text + strlen(text)); }

class CorvelInstallFolderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RestoreHost();
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    folder = std::wstring(temp) + L"corvel_folder_" + std::to_wstring(GetCurrentProcessId());
    CreateDirectoryW(folder.c_str(), nullptr);
    CopyFileW(Widen(std::getenv("ZENT_CORVEL_MLA_CONTROL")).c_str(), (folder + L"\\mla_control.exe").c_str(), FALSE);
  }
  void TearDown() override {
    DeleteFileW((folder + L"\\mla_control.exe").c_str());
    RemoveDirectoryW(folder.c_str());
    RestoreHost();
  }

  CapturedLog log{5};
  zentsim::testing::StandInKey corvel{L"corvel"};
  std::wstring folder;
};

TEST_F(CorvelInstallFolderTest, FolderWithoutClosingBackslashGetsOne) {
  SetString(kCorvelKey, L"InstallationFolder", folder);
  std::wstring found;
  EXPECT_TRUE(GetCorvelInstallFolder(found));
  EXPECT_EQ(found, folder + L"\\");
  EXPECT_EQ(RemovalLog(log.Text()), Lines{});
}

TEST_F(CorvelInstallFolderTest, FolderWithClosingBackslashStaysAsItIs) {
  SetString(kCorvelKey, L"InstallationFolder", folder + L"\\");
  std::wstring found;
  EXPECT_TRUE(GetCorvelInstallFolder(found));
  EXPECT_EQ(found, folder + L"\\");
}

TEST_F(CorvelInstallFolderTest, MlaControlRunsFromAFolderWithoutClosingBackslash) {
  SetString(kCorvelKey, L"InstallationFolder", folder);
  SetDword(kCorvelKey, L"SelfProtection", 1);
  EXPECT_TRUE(DisableCorvelSelfProtection());
  EXPECT_TRUE(ResetCorvelSetting());
  EXPECT_EQ(corvel.String(L"Journal"), L"-s off\n-r\n");
  DWORD flag = 1;
  DWORD size = sizeof flag;
  EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, kCorvelKey, L"SelfProtection", RRF_RT_REG_DWORD, nullptr, &flag, &size),
            ERROR_SUCCESS);
  EXPECT_EQ(flag, 0u);
  EXPECT_EQ(RemovalLog(log.Text()), (Lines{"DisableCorvelSelfProtection: mla_control -s off exitCode=0, output=\n",
                                           "ResetCorvelSetting: mla_control -r exitCode=0, output=\n"}));
}

TEST_F(CorvelInstallFolderTest, FailingMlaControlIsLoggedAndFalse) {
  SetString(kCorvelKey, L"InstallationFolder", folder);
  corvel.Set(L"ControlExitCode", 7);
  EXPECT_FALSE(ResetCorvelSetting());
  EXPECT_EQ(RemovalLog(log.Text()), (Lines{"ResetCorvelSetting: reset corvel setting fail, error=7",
                                           "ResetCorvelSetting: mla_control -r exitCode=7, output=\n"}));
}

TEST_F(CorvelInstallFolderTest, FileIsNoInstallFolder) {
  std::wstring file = folder + L"\\mla_control.exe";
  SetString(kCorvelKey, L"InstallationFolder", file);
  std::wstring found = L"unchanged";
  EXPECT_FALSE(GetCorvelInstallFolder(found));
  EXPECT_EQ(found, L"unchanged");
  EXPECT_FALSE(ResetCorvelSetting());
  std::string line = "GetCorvelInstallFolder: corvel install folder=[" + Narrow(file) + "] not exists.";
  EXPECT_EQ(RemovalLog(log.Text()), (Lines{line, line, "ResetCorvelSetting: get Corvel install path failed."}));
  EXPECT_EQ(corvel.String(L"Journal"), std::nullopt);
}

TEST_F(CorvelInstallFolderTest, MissingFolderIsNoInstallFolder) {
  std::wstring missing = folder + L"\\gone";
  SetString(kCorvelKey, L"InstallationFolder", missing);
  EXPECT_FALSE(DisableCorvelSelfProtection());
  EXPECT_EQ(RemovalLog(log.Text()),
            (Lines{"GetCorvelInstallFolder: corvel install folder=[" + Narrow(missing) + "] not exists.",
                   "DisableCorvelSelfProtection: get Corvel install path failed."}));
}

TEST_F(CorvelInstallFolderTest, KeyWithoutTheValueIsNoInstallFolder) {
  SetDword(kCorvelKey, L"SelfProtection", 0);
  std::wstring found;
  EXPECT_FALSE(GetCorvelInstallFolder(found));
  EXPECT_EQ(RemovalLog(log.Text()), Lines{"GetCorvelInstallFolder: cannot get corvel install folder from registry."});
}

TEST_F(CorvelInstallFolderTest, NoKeyIsNoInstallFolder) {
  std::wstring found;
  EXPECT_FALSE(GetCorvelInstallFolder(found));
  EXPECT_EQ(RemovalLog(log.Text()),
            Lines{"GetCorvelInstallFolder: registry key HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\Corvel Agent not exists."});
}

}  // namespace
