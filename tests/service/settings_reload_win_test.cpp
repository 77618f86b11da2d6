// The settings loader on files that are not well formed, and the reload that
// the configuration watcher runs: defaults when the ini goes, its values when
// it comes back, the ini path's buffer kept, the log closed and reopened by
// LogFile, and the two locks the reload takes.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "log/debug_log.h"
#include "policy/deployment_lock.h"
#include "records/settings.h"
#include "service/settings_win.h"
#include "support/temp_folder_win.h"
#include "support/test_files.h"
#include "upkeep/monitor_config_win.h"

namespace {

class SettingsReload : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = MakeTempFolder(L"zent_reload");
    CreateDirectoryW((dir_ + L"\\config").c_str(), nullptr);
    s_Settings = ZentSettings{};
    s_Settings.workingDirectory = dir_;
    s_Settings.isService = true;
    s_Settings.logFile = dir_ + L"\\zent_agent.log";
  }
  void TearDown() override {
    if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) fclose(stream);
    DeleteFileW(Ini().c_str());
    DeleteFileW(s_Settings.logFile.c_str());
    RemoveDirectoryW((dir_ + L"\\config").c_str());
    RemoveDirectoryW(dir_.c_str());
    s_Settings = ZentSettings{};
  }
  std::wstring Ini() const { return dir_ + L"\\config\\zent_agent.ini"; }
  void WriteIni(const std::string& bytes) { WriteTestFile(Ini(), bytes); }
  std::wstring dir_;
};

// What the profile calls themselves give on the file, key by key, with the
// loader's defaults: the loader must add no parsing of its own.
void ExpectFieldsAsTheProfileCallsGive(const std::wstring& ini) {
  const wchar_t* file = ini.c_str();
  auto readInt = [file](const wchar_t* key, int fallback) {
    return GetPrivateProfileIntW(L"ZENTSETTINGS", key, fallback, file);
  };
  EXPECT_EQ(s_Settings.s_bTestMode, readInt(L"TestMode", 0) != 0);
  EXPECT_EQ(s_Settings.s_bConfigEncrypt, readInt(L"ConfigEncrypt", 1) != 0);
  EXPECT_EQ(s_Settings.DisableScheduleHeartBeat, readInt(L"DisableScheduleHeartBeat", 1) != 0);
  EXPECT_EQ(s_Settings.HeartBeatTimer, readInt(L"HeartBeatTimer", 600000));
  EXPECT_EQ(s_Settings.FirstHeartBeat, readInt(L"FirstHeartBeat", 30000));
  EXPECT_EQ(s_Settings.HeartBeatRetryMax, static_cast<int32_t>(readInt(L"HeartBeatRetryMax", 1)));
  EXPECT_EQ(s_Settings.FlushDebugLogTimer, readInt(L"FlushDebugLogTimer", 1000));
  EXPECT_EQ(s_Settings.DebugLevel, static_cast<int32_t>(readInt(L"DebugLevel", 3)));
  EXPECT_EQ(s_Settings.DbgviewLog, readInt(L"DbgviewLog", 0) != 0);
  EXPECT_EQ(s_Settings.LogFile, readInt(L"LogFile", 1) != 0);
  EXPECT_EQ(s_Settings.LogFileSizeLimit, static_cast<int32_t>(readInt(L"LogFileSizeLimit", 10485760)));
  wchar_t policy[254] = {};
  GetPrivateProfileStringW(L"Policy", L"DeployedPolicy", L"", policy, 254, file);
  EXPECT_EQ(s_Settings.DeployedPolicy, std::wstring(policy));
}

std::string RandomBytes(size_t size) {
  std::mt19937 generator(14);
  std::string bytes(size, '\0');
  for (char& c : bytes) c = static_cast<char>(generator() & 0xFF);
  return bytes;
}

TEST_F(SettingsReload, GarbageLinesAreLeftToTheProfileCalls) {
  WriteIni("\x01\x02 [[[ ]]] ==== ;;;\r\nnot a line at all\r\n[ZENTSETTINGS\r\nDebugLevel=5\r\n"
           "[ZENTSETTINGS]\r\n=\r\n==6\r\nTestMode==1\r\nLogFile=0x10\r\n[Policy]\r\nDeployedPolicy==p=q\r\n");
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
}

TEST_F(SettingsReload, NulBytesAreLeftToTheProfileCalls) {
  const char text[] =
      "[ZENTSETTINGS]\r\nDebug\0Level=5\r\nTestMode=1\0garbage\r\nLogFile=0\r\n"
      "[Pol\0icy]\r\nDeployedPolicy=a\0b\r\n";
  WriteIni(std::string(text, sizeof text - 1));
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
}

TEST_F(SettingsReload, LinesWithoutEqualsSignAreLeftToTheProfileCalls) {
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel 5\r\nTestMode\r\nLogFile=0\r\n[Policy]\r\nDeployedPolicy\r\n");
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
  EXPECT_EQ(s_Settings.DebugLevel, 3);
  EXPECT_FALSE(s_Settings.LogFile);
}

TEST_F(SettingsReload, KeysBeforeAnySectionBelongToNone) {
  WriteIni("DebugLevel=5\r\nTestMode=1\r\nDeployedPolicy=early\r\n[ZENTSETTINGS]\r\nLogFile=0\r\n");
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
  EXPECT_EQ(s_Settings.DebugLevel, 3);
  EXPECT_FALSE(s_Settings.s_bTestMode);
  EXPECT_FALSE(s_Settings.LogFile);
  EXPECT_EQ(s_Settings.DeployedPolicy, L"");
}

TEST_F(SettingsReload, EmptyValueIsLeftToTheProfileCalls) {
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=\r\n");
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
}

TEST_F(SettingsReload, TrailingCommentIsLeftToTheProfileCalls) {
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=4 ; x\r\n");
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
  EXPECT_EQ(s_Settings.DebugLevel, 4);
}

TEST_F(SettingsReload, NegativeRetryCountIsTakenAsItStands) {
  WriteIni("[ZENTSETTINGS]\r\nHeartBeatRetryMax=-1\r\n");
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
  EXPECT_EQ(s_Settings.HeartBeatRetryMax, -1);
}

TEST_F(SettingsReload, EmptyFileGivesTheDefaults) {
  WriteIni("");
  s_Settings.DebugLevel = 6;
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
  EXPECT_EQ(s_Settings.DebugLevel, 3);
  EXPECT_TRUE(s_Settings.LogFile);
}

TEST_F(SettingsReload, MegabyteOfRandomBytesIsLeftToTheProfileCalls) {
  WriteIni(RandomBytes(1 << 20));
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
}

TEST_F(SettingsReload, HundredThousandCharacterLineIsLeftToTheProfileCalls) {
  WriteIni("[ZENTSETTINGS]\r\n" + std::string(100000, 'x') + "\r\nDebugLevel=5\r\nHeartBeatTimer=" +
           std::string(100000, '7') + "\r\n[Policy]\r\nDeployedPolicy=" + std::string(100000, 'p') + "\r\n");
  LoadZentSettings();
  ExpectFieldsAsTheProfileCallsGive(Ini());
}

TEST_F(SettingsReload, DeletedIniGivesTheDefaultsAndRecreatedItsValues) {
  const std::string values =
      "[ZENTSETTINGS]\r\nTestMode=1\r\nDebugLevel=5\r\nHeartBeatTimer=1234\r\nLogFile=0\r\n"
      "[Policy]\r\nDeployedPolicy=Office policy v7\r\n";
  WriteIni(values);
  ReloadConfigSettings();
  EXPECT_TRUE(s_Settings.s_bTestMode);
  EXPECT_EQ(s_Settings.DeployedPolicy, L"Office policy v7");

  ASSERT_TRUE(DeleteFileW(Ini().c_str()));
  ReloadConfigSettings();
  EXPECT_FALSE(s_Settings.s_bTestMode);
  EXPECT_EQ(s_Settings.DebugLevel, 3);
  EXPECT_EQ(s_Settings.HeartBeatTimer, 600000u);
  EXPECT_TRUE(s_Settings.LogFile);
  EXPECT_EQ(s_Settings.DeployedPolicy, L"");

  WriteIni(values);
  ReloadConfigSettings();
  EXPECT_TRUE(s_Settings.s_bTestMode);
  EXPECT_EQ(s_Settings.DebugLevel, 5);
  EXPECT_EQ(s_Settings.HeartBeatTimer, 1234u);
  EXPECT_FALSE(s_Settings.LogFile);
  EXPECT_EQ(s_Settings.DeployedPolicy, L"Office policy v7");
}

TEST_F(SettingsReload, IniPathKeepsItsBufferAcrossReloads) {
  LoadZentSettings();
  const wchar_t* buffer = s_Settings.iniFile.c_str();
  WriteIni("[ZENTSETTINGS]\r\nTestMode=1\r\n");
  ReloadConfigSettings();
  ReloadConfigSettings();
  EXPECT_EQ(s_Settings.iniFile.c_str(), buffer);
  EXPECT_EQ(s_Settings.iniFile, Ini());
}

TEST_F(SettingsReload, LogFileOffClosesTheLogAtTheReload) {
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=3\r\n");
  LoadZentSettings();
  InitLogFile();
  ASSERT_NE(s_DebugLog.stream.load(), nullptr);
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=3\r\nLogFile=0\r\n");
  ReloadConfigSettings();
  EXPECT_EQ(s_DebugLog.stream.load(), nullptr);
  ZENT_LOG(1, L"after the reload\n");
  std::string text = ReadTestFile(s_Settings.logFile);
  // The marker, then the reload's own line, written while the log was on.
  const std::string marker = "\r\nstart logging >>>\r\n";
  ASSERT_EQ(text.compare(0, marker.size(), marker), 0) << text;
  const std::string reload = "] Reload Config Settings.\r\n";
  ASSERT_GE(text.size(), marker.size() + reload.size());
  EXPECT_EQ(text.substr(text.size() - reload.size()), reload) << text;
  EXPECT_EQ(text.find("after the reload"), std::string::npos) << text;
}

TEST_F(SettingsReload, LogFileOnReopensTheLogWithTheMarker) {
  WriteTestFile(s_Settings.logFile, "earlier lines\r\n");
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=5\r\nLogFile=0\r\n");
  LoadZentSettings();
  ASSERT_EQ(s_DebugLog.stream.load(), nullptr);
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=5\r\nLogFile=1\r\n");
  ReloadConfigSettings();
  ASSERT_NE(s_DebugLog.stream.load(), nullptr);
  EXPECT_EQ(s_DebugLog.logSize, 15);
  if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) fclose(stream);
  // The reload's line and "already exists" came while no file was open.
  EXPECT_EQ(ReadTestFile(s_Settings.logFile), "earlier lines\r\n\r\nstart logging >>>\r\n");
}

TEST_F(SettingsReload, LogStaysOpenWhileLogFileStaysOn) {
  LoadZentSettings();
  InitLogFile();
  FILE* before = s_DebugLog.stream.load();
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=4\r\n");
  ReloadConfigSettings();
  EXPECT_EQ(s_DebugLog.stream.load(), before);
}

TEST_F(SettingsReload, DeployedPolicyIsSetUnderTheDeploymentLock) {
  WriteIni("[ZENTSETTINGS]\r\nTestMode=1\r\n[Policy]\r\nDeployedPolicy=new label\r\n");
  s_Settings.DeployedPolicy = L"old label";
  std::unique_lock<std::mutex> deployment(g_DeploymentLock);
  std::thread reload(ReloadConfigSettings);
  // The fields before the label are read while the lock is held elsewhere.
  while (!s_Settings.s_bTestMode) Sleep(10);
  Sleep(300);
  EXPECT_EQ(s_Settings.DeployedPolicy, L"old label");
  deployment.unlock();
  reload.join();
  EXPECT_EQ(s_Settings.DeployedPolicy, L"new label");
}

TEST_F(SettingsReload, LogIsClosedUnderTheLogsLock) {
  // Level 0: no line of the reload's own takes the lock, only the close.
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=0\r\n");
  LoadZentSettings();
  InitLogFile();
  WriteIni("[ZENTSETTINGS]\r\nDebugLevel=0\r\nLogFile=0\r\nTestMode=1\r\n");
  std::unique_lock<std::mutex> lock(s_DebugLog.logLock);
  std::thread reload(ReloadConfigSettings);
  while (!s_Settings.s_bTestMode) Sleep(10);
  Sleep(300);
  EXPECT_NE(s_DebugLog.stream.load(), nullptr);
  lock.unlock();
  reload.join();
  EXPECT_EQ(s_DebugLog.stream.load(), nullptr);
}

}  // namespace
