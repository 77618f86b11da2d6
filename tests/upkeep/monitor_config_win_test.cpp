// The configuration watcher's thread on a real folder: one reload per
// signalled notification, the folder itself only, its end on the stop event,
// and no spinning when the folder is missing or goes away.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <mutex>
#include <string>

#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "support/temp_folder_win.h"
#include "support/test_files.h"
#include "upkeep/monitor_config_win.h"

namespace {

const char kReload[] = "] Reload Config Settings.\r\n";

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

class ConfigWatcher : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = MakeTempFolder(L"zent_watch");
    CreateDirectoryW(Config().c_str(), nullptr);
    s_Settings = ZentSettings{};
    s_Settings.workingDirectory = dir_;
    s_Settings.isService = true;
    s_Settings.logFile = dir_ + L"\\zent_agent.log";
    s_Settings.DebugLevel = 3;
    InitLogFile();
    g_Engine.hStopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  }
  void TearDown() override {
    if (thread_ != nullptr) {
      SetEvent(g_Engine.hStopEvent);
      WaitForSingleObject(thread_, 10000);
      CloseHandle(thread_);
    }
    CloseHandle(g_Engine.hStopEvent);
    g_Engine.hStopEvent = nullptr;
    if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) fclose(stream);
    DeleteFileW((Config() + L"\\sub\\inner.ini").c_str());
    RemoveDirectoryW((Config() + L"\\sub").c_str());
    for (const wchar_t* name : {L"zent_agent.ini", L"other.txt", L"zent_agent.tmp"}) {
      DeleteFileW((Config() + L"\\" + name).c_str());
    }
    RemoveDirectoryW(Config().c_str());
    DeleteFileW(s_Settings.logFile.c_str());
    RemoveDirectoryW(dir_.c_str());
    s_Settings = ZentSettings{};
  }
  std::wstring Config() const { return dir_ + L"\\config"; }
  std::wstring Ini() const { return Config() + L"\\zent_agent.ini"; }
  void Start() { thread_ = CreateThread(nullptr, 0, ProcessMonitorConfigFn, nullptr, 0, nullptr); }
  std::string Log() {
    {
      std::lock_guard<std::mutex> lock(s_DebugLog.logLock);
      if (FILE* stream = s_DebugLog.stream.load()) fflush(stream);
    }
    return ReadTestFile(s_Settings.logFile);
  }
  // Waits until the log holds `count` reloads; then gives a surplus one the
  // time to come, so that a test can tell exactly how many there were.
  size_t ReloadsOnceSettled(size_t count) {
    for (int i = 0; i < 500 && Count(Log(), kReload) < count; ++i) Sleep(20);
    Sleep(500);
    return Count(Log(), kReload);
  }
  // The watcher is waiting once its first line is there; a change before
  // that would be missed, as it would be by the agent.
  void WaitUntilWatching() {
    for (int i = 0; i < 500 && Log().find("ProcessMonitorConfigFn: enters") == std::string::npos; ++i) Sleep(20);
    Sleep(200);
  }
  uint64_t ThreadCpu100ns() {
    FILETIME created, exited, kernel, user;
    if (!GetThreadTimes(thread_, &created, &exited, &kernel, &user)) return ~uint64_t{0};
    auto ticks = [](const FILETIME& t) { return (uint64_t{t.dwHighDateTime} << 32) | t.dwLowDateTime; };
    return ticks(kernel) + ticks(user);
  }
  DWORD StopAndExitCode() {
    SetEvent(g_Engine.hStopEvent);
    EXPECT_EQ(WaitForSingleObject(thread_, 10000), WAIT_OBJECT_0);
    DWORD code = 12345;
    GetExitCodeThread(thread_, &code);
    return code;
  }
  std::wstring dir_;
  HANDLE thread_ = nullptr;
};

TEST_F(ConfigWatcher, AnIniWriteOfTheAgentsOwnReloadsAndStopEndsWithZero) {
  WriteTestFile(Ini(), "[ZENTSETTINGS]\r\nDebugLevel=3\r\n");
  Start();
  WaitUntilWatching();
  ASSERT_TRUE(WritePrivateProfileStringW(L"ZENTSETTINGS", L"TestMode", L"1", Ini().c_str()));
  EXPECT_GE(ReloadsOnceSettled(1), 1u);
  EXPECT_TRUE(s_Settings.s_bTestMode);
  EXPECT_EQ(StopAndExitCode(), 0u);
  std::string log = Log();
  EXPECT_NE(log.find("] ProcessMonitorConfigFn: enters\r\n"), std::string::npos);
  EXPECT_NE(log.find("] ProcessMonitorConfigFn: Stop Event Signaled!\r\n"), std::string::npos);
  EXPECT_NE(log.find("] ProcessMonitorConfigFn: exits\r\n"), std::string::npos);
}

TEST_F(ConfigWatcher, ANewFileWithContentFiresBothNotificationsAndReadsTwice) {
  Start();
  WaitUntilWatching();
  // A name change (the file appears) and a last-write change (its bytes).
  WriteTestFile(Config() + L"\\other.txt", "any file of the folder\r\n");
  EXPECT_EQ(ReloadsOnceSettled(2), 2u);
}

TEST_F(ConfigWatcher, ARenameIntoPlaceReloads) {
  WriteTestFile(Ini(), "[ZENTSETTINGS]\r\nDebugLevel=3\r\n");
  WriteTestFile(Config() + L"\\zent_agent.tmp", "[ZENTSETTINGS]\r\nDebugLevel=3\r\nHeartBeatTimer=4321\r\n");
  Start();
  WaitUntilWatching();
  ASSERT_TRUE(MoveFileExW((Config() + L"\\zent_agent.tmp").c_str(), Ini().c_str(), MOVEFILE_REPLACE_EXISTING));
  EXPECT_GE(ReloadsOnceSettled(1), 1u);
  EXPECT_EQ(s_Settings.HeartBeatTimer, 4321u);
}

TEST_F(ConfigWatcher, ASubfolderAndItsFilesAreNotWatched) {
  CreateDirectoryW((Config() + L"\\sub").c_str(), nullptr);
  WriteTestFile(Config() + L"\\sub\\inner.ini", "[ZENTSETTINGS]\r\nTestMode=1\r\n");
  Start();
  WaitUntilWatching();
  WriteTestFile(Config() + L"\\sub\\inner.ini", "[ZENTSETTINGS]\r\nTestMode=0\r\n");
  WriteTestFile(Config() + L"\\sub\\new.ini", "x");
  DeleteFileW((Config() + L"\\sub\\new.ini").c_str());
  Sleep(1000);
  EXPECT_EQ(Count(Log(), kReload), 0u);
  // The watcher was alive all along: a file of the folder itself reloads.
  WriteTestFile(Ini(), "[ZENTSETTINGS]\r\nDebugLevel=3\r\n");
  EXPECT_GE(ReloadsOnceSettled(1), 1u);
}

TEST_F(ConfigWatcher, AMissingFolderEndsTheThreadWithTheError) {
  ASSERT_TRUE(RemoveDirectoryW(Config().c_str()));
  Start();
  ASSERT_EQ(WaitForSingleObject(thread_, 10000), WAIT_OBJECT_0);
  DWORD code = 12345;
  GetExitCodeThread(thread_, &code);
  EXPECT_TRUE(code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND) << code;
  EXPECT_NE(Log().find("] Failed to create notification for watching config dir. error=" + std::to_string(code) +
                       "\r\n"),
            std::string::npos)
      << Log();
  EXPECT_EQ(Log().find("ProcessMonitorConfigFn: exits"), std::string::npos);
}

TEST_F(ConfigWatcher, ADeletedFolderNeitherSpinsNorKeepsTheStopWaiting) {
  WriteTestFile(Ini(), "[ZENTSETTINGS]\r\nDebugLevel=3\r\nTestMode=1\r\n");
  Start();
  WaitUntilWatching();
  ASSERT_TRUE(DeleteFileW(Ini().c_str()));
  // The folder goes while the watcher's notifications are open on it.
  ASSERT_TRUE(RemoveDirectoryW(Config().c_str()));
  // The ini's deletion is a name change: the settings fall back to the
  // defaults.
  for (int i = 0; i < 250 && s_Settings.s_bTestMode; ++i) Sleep(20);
  EXPECT_FALSE(s_Settings.s_bTestMode);
  Sleep(1000);
  // Well under the second that passed: the thread waits, it does not spin.
  EXPECT_LT(ThreadCpu100ns(), 2000000u) << Log();
  EXPECT_EQ(StopAndExitCode(), 0u);
  EXPECT_NE(Log().find("] ProcessMonitorConfigFn: exits\r\n"), std::string::npos) << Log();
}

TEST_F(ConfigWatcher, AFailedWaitEndsTheThreadInsteadOfSpinning) {
  // A stop event that is no handle makes every wait fail.
  HANDLE stop = g_Engine.hStopEvent;
  g_Engine.hStopEvent = reinterpret_cast<HANDLE>(static_cast<uintptr_t>(0x7ff0));
  Start();
  DWORD ended = WaitForSingleObject(thread_, 10000);
  g_Engine.hStopEvent = stop;
  ASSERT_EQ(ended, WAIT_OBJECT_0);
  DWORD code = 12345;
  GetExitCodeThread(thread_, &code);
  EXPECT_EQ(code, static_cast<DWORD>(ERROR_INVALID_HANDLE));
  std::string log = Log();
  EXPECT_NE(log.find("] Failed to wait for notification for watching config dir. error=6\r\n"), std::string::npos)
      << log;
  EXPECT_EQ(log.find("ProcessMonitorConfigFn: exits"), std::string::npos) << log;
}

}  // namespace
