// The debug log's file: the marker, the size kept across opens, rotation.
// The file is a text-mode stream ("a+"), so each line end reaches the disk
// as "\r\n".
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "log/debug_log.h"
#include "records/settings.h"
#include "support/temp_folder_win.h"
#include "support/test_files.h"

namespace {

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() && text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

class DebugLogFile : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = MakeTempFolder(L"zent_log");
    s_Settings = ZentSettings{};
    s_Settings.workingDirectory = dir_;
    s_Settings.isService = true;
    s_Settings.logFile = dir_ + L"\\zent_agent.log";
  }
  void TearDown() override {
    if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) fclose(stream);
    for (const wchar_t* name : {L"zent_agent", L"zent_agent1", L"zent_agent2", L"zent_agent3", L"zent_agent4",
                                L"zent_agent5", L"zent_install", L"zent_install1"}) {
      DeleteFileW((dir_ + L"\\" + name + L".log").c_str());
    }
    RemoveDirectoryW(dir_.c_str());
    s_Settings = ZentSettings{};
  }
  std::wstring Log(const wchar_t* name) { return dir_ + L"\\" + name + L".log"; }
  void CloseLog() {
    if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) fclose(stream);
  }
  std::wstring dir_;
};

TEST_F(DebugLogFile, NewFileStartsWithTheMarkerAndSizeZero) {
  InitLogFile();
  ASSERT_NE(s_DebugLog.stream.load(), nullptr);
  EXPECT_EQ(s_DebugLog.logSize, 0);
  CloseLog();
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent")), "\r\nstart logging >>>\r\n");
}

TEST_F(DebugLogFile, ReopenAppendsAndTakesTheRealSize) {
  WriteTestFile(Log(L"zent_agent"), std::string(1000, 'a'));
  InitLogFile();
  // The marker does not count: a restart keeps the rotation point.
  EXPECT_EQ(s_DebugLog.logSize, 1000);
  ZENT_LOG(3, L"after restart\n");
  CloseLog();
  std::string text = ReadTestFile(Log(L"zent_agent"));
  EXPECT_EQ(text.substr(0, 1021), std::string(1000, 'a') + "\r\nstart logging >>>\r\n");
  EXPECT_TRUE(EndsWith(text, "] after restart\r\n")) << text;
}

TEST_F(DebugLogFile, OtherProcessesMayReadTheLogWhileItIsOpen) {
  InitLogFile();
  HANDLE reader = CreateFileW(Log(L"zent_agent").c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(reader, INVALID_HANDLE_VALUE);
  CloseHandle(reader);
  HANDLE writer = CreateFileW(Log(L"zent_agent").c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_EQ(writer, INVALID_HANDLE_VALUE);
  if (writer != INVALID_HANDLE_VALUE) CloseHandle(writer);
}

TEST_F(DebugLogFile, RotationShiftsEachFileAndDeletesTheFourth) {
  WriteTestFile(Log(L"zent_agent"), "live");
  WriteTestFile(Log(L"zent_agent1"), "one");
  WriteTestFile(Log(L"zent_agent2"), "two");
  WriteTestFile(Log(L"zent_agent3"), "three");
  WriteTestFile(Log(L"zent_agent4"), "four");
  InitLogFile();
  ZENT_LOG(3, L"before rotation\n");
  RotateLogFile();
  EXPECT_EQ(s_DebugLog.logSize, 0);
  ZENT_LOG(3, L"after rotation\n");
  CloseLog();
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent4")), "three");
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent3")), "two");
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent2")), "one");
  std::string first = ReadTestFile(Log(L"zent_agent1"));
  EXPECT_EQ(first.substr(0, 25), "live\r\nstart logging >>>\r\n");
  EXPECT_TRUE(EndsWith(first, "] before rotation\r\n")) << first;
  // The new live file has no marker.
  std::string live = ReadTestFile(Log(L"zent_agent"));
  EXPECT_EQ(live.substr(0, 24).find('['), std::string::npos);
  EXPECT_TRUE(EndsWith(live, "] after rotation\r\n")) << live;
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent5")), "<missing>");
}

TEST_F(DebugLogFile, RotationWithOnlyTheLiveFile) {
  InitLogFile();
  RotateLogFile();
  CloseLog();
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent1")), "\r\nstart logging >>>\r\n");
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent")), "");
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent2")), "<missing>");
}

TEST_F(DebugLogFile, OtherRunsRotateTheInstallLog) {
  s_Settings.isService = false;
  s_Settings.logFile = Log(L"zent_install");
  InitLogFile();
  RotateLogFile();
  CloseLog();
  EXPECT_EQ(ReadTestFile(Log(L"zent_install1")), "\r\nstart logging >>>\r\n");
  EXPECT_EQ(ReadTestFile(Log(L"zent_agent1")), "<missing>");
}

}  // namespace
