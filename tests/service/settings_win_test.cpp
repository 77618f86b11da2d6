// The settings record as zent_agent.ini fills it.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "records/settings.h"
#include "service/settings_win.h"
#include "support/temp_folder_win.h"

namespace {

class SettingsLoader : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = MakeTempFolder(L"zent_settings");
    CreateDirectoryW((dir_ + L"\\config").c_str(), nullptr);
    s_Settings = ZentSettings{};
    s_Settings.workingDirectory = dir_;
  }
  void TearDown() override {
    DeleteFileW((dir_ + L"\\config\\zent_agent.ini").c_str());
    RemoveDirectoryW((dir_ + L"\\config").c_str());
    RemoveDirectoryW(dir_.c_str());
    s_Settings = ZentSettings{};
  }
  void WriteIni(const char* text) {
    FILE* f = _wfopen((dir_ + L"\\config\\zent_agent.ini").c_str(), L"wb");
    ASSERT_NE(f, nullptr);
    fputs(text, f);
    fclose(f);
  }
  std::wstring dir_;
};

TEST_F(SettingsLoader, NoIniGivesTheDefaults) {
  // Values the defaults must overwrite.
  s_Settings.s_bTestMode = true;
  s_Settings.s_bConfigEncrypt = false;
  s_Settings.DisableScheduleHeartBeat = false;
  s_Settings.DebugLevel = 6;
  s_Settings.LogFile = false;
  s_Settings.LogFileSizeLimit = 5;
  s_Settings.DeployedPolicy = L"old";
  LoadZentSettings();
  EXPECT_EQ(s_Settings.iniFile, dir_ + L"\\config\\zent_agent.ini");
  EXPECT_FALSE(s_Settings.s_bTestMode);
  EXPECT_TRUE(s_Settings.s_bConfigEncrypt);
  EXPECT_TRUE(s_Settings.DisableScheduleHeartBeat);
  EXPECT_EQ(s_Settings.HeartBeatTimer, 600000u);
  EXPECT_EQ(s_Settings.FirstHeartBeat, 30000u);
  EXPECT_EQ(s_Settings.HeartBeatRetryMax, 1);
  EXPECT_EQ(s_Settings.FlushDebugLogTimer, 1000u);
  EXPECT_EQ(s_Settings.DebugLevel, 3);
  EXPECT_FALSE(s_Settings.DbgviewLog);
  EXPECT_TRUE(s_Settings.LogFile);
  EXPECT_EQ(s_Settings.LogFileSizeLimit, 10485760);
  EXPECT_EQ(s_Settings.DeployedPolicy, L"");
}

TEST_F(SettingsLoader, EveryKeyIsRead) {
  WriteIni(
      "[ZENTSETTINGS]\r\n"
      "TestMode=1\r\n"
      "ConfigEncrypt=0\r\n"
      "DisableScheduleHeartBeat=0\r\n"
      "HeartBeatTimer=120000\r\n"
      "FirstHeartBeat=5000\r\n"
      "HeartBeatRetryMax=4\r\n"
      "FlushDebugLogTimer=250\r\n"
      "DebugLevel=6\r\n"
      "DbgviewLog=1\r\n"
      "LogFile=0\r\n"
      "LogFileSizeLimit=0\r\n"
      "[Policy]\r\n"
      "DeployedPolicy=policy-42\r\n");
  LoadZentSettings();
  EXPECT_TRUE(s_Settings.s_bTestMode);
  EXPECT_FALSE(s_Settings.s_bConfigEncrypt);
  EXPECT_FALSE(s_Settings.DisableScheduleHeartBeat);
  EXPECT_EQ(s_Settings.HeartBeatTimer, 120000u);
  EXPECT_EQ(s_Settings.FirstHeartBeat, 5000u);
  EXPECT_EQ(s_Settings.HeartBeatRetryMax, 4);
  EXPECT_EQ(s_Settings.FlushDebugLogTimer, 250u);
  EXPECT_EQ(s_Settings.DebugLevel, 6);
  EXPECT_TRUE(s_Settings.DbgviewLog);
  EXPECT_FALSE(s_Settings.LogFile);
  EXPECT_EQ(s_Settings.LogFileSizeLimit, 0);
  EXPECT_EQ(s_Settings.DeployedPolicy, L"policy-42");
}

TEST_F(SettingsLoader, BooleansAreNotZero) {
  WriteIni("[ZENTSETTINGS]\r\nTestMode=7\r\nLogFile=-1\r\n");
  LoadZentSettings();
  EXPECT_TRUE(s_Settings.s_bTestMode);
  EXPECT_TRUE(s_Settings.LogFile);
}

TEST_F(SettingsLoader, DeployedPolicyKeepsAtMost253Characters) {
  std::string longPolicy(300, 'p');
  WriteIni(("[Policy]\r\nDeployedPolicy=" + longPolicy + "\r\n").c_str());
  LoadZentSettings();
  EXPECT_EQ(s_Settings.DeployedPolicy, std::wstring(253, L'p'));
}

TEST(OsFolder, ByWindowsVersion) {
  EXPECT_STREQ(OsFolderName(10, 0), L"Win10Release");
  EXPECT_STREQ(OsFolderName(6, 3), L"Win8Release");  // 8.1 and Server 2012 R2
  EXPECT_STREQ(OsFolderName(6, 2), L"Win8Release");
  EXPECT_STREQ(OsFolderName(6, 1), L"Win7Release");
  EXPECT_STREQ(OsFolderName(6, 0), L"VistaRelease");
  EXPECT_STREQ(OsFolderName(5, 2), L"WinxpRelease");
  EXPECT_STREQ(OsFolderName(5, 1), L"WinxpRelease");
  EXPECT_STREQ(OsFolderName(5, 0), L"???");
}

}  // namespace
