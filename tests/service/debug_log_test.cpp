// The debug log writer: whole lines, byte for byte, as the log file and the
// debugger receive them.
#include "log/debug_log.h"
#include "support/scratch_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <regex>
#include <string>

#ifdef _WIN32
#include <windows.h>
#include "records/engine_state_win.h"
#define hLogFileEvent g_Engine.hLogFileEvent
#else
extern std::atomic<int> s_LogRotationRequests;
#endif

namespace {

std::string Hex4(uint32_t id) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%4X", id);
  return buf;
}

std::string ReadAll(FILE* f) {
  std::string text;
  std::rewind(f);
  char buf[4096];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
  return text;
}

// Every test starts from a known log: the default threshold, no debugger
// output, and a fresh file as the open stream.
class DebugLogWriter : public ::testing::Test {
 protected:
  void SetUp() override {
    s_Settings = ZentSettings{};
    file_ = OpenScratchFile();
    ASSERT_NE(file_, nullptr);
    s_DebugLog.stream = file_;
    s_DebugLog.logSize = 0;
  }
  void TearDown() override {
    if (s_DebugLog.stream != nullptr) std::fclose(s_DebugLog.stream);
    s_DebugLog.stream = nullptr;
    s_Settings = ZentSettings{};
  }
  std::string FileText() {
    std::fflush(s_DebugLog.stream);
    return ReadAll(s_DebugLog.stream);
  }
  FILE* file_ = nullptr;
};

const char kStamp[] = "[0-9]{4}:[0-9]{2}:[0-9]{2}-[0-9]{2}:[0-9]{2}:[0-9]{2}:[0-9]{3} ";

// The function's name in the prefix is that of the caller.
int CmdProcessFn() {
  ZENT_LOG(2, L"CmdProcessFn: enters\n");
  return __LINE__ - 1;
}

TEST(LogLineFormat, StampIsDateDashTimeWithMilliseconds) {
  EXPECT_EQ(FormatLogStamp({2016, 3, 21, 14, 5, 9, 120}), "2016:03:21-14:05:09:120 ");
  EXPECT_EQ(FormatLogStamp({2026, 11, 1, 0, 0, 0, 7}), "2026:11:01-00:00:00:007 ");
}

TEST(LogLineFormat, PrefixHasThreadIdFunctionAndLine) {
  EXPECT_EQ(FormatLogPrefix(0x8F4, "CmdProcessFn", 66), "[ 8F4][ZTENG][CmdProcessFn:66] ");
  EXPECT_EQ(FormatLogPrefix(0x1A2B3, "ServiceMain_", 7), "[1A2B3][ZTENG][ServiceMain_:7] ");
}

TEST_F(DebugLogWriter, FileLineIsStampPrefixAndMessage) {
  int line = CmdProcessFn();
  std::string expected = "[" + Hex4(LogCurrentThreadId()) + "][ZTENG][CmdProcessFn:" + std::to_string(line) +
                         "] CmdProcessFn: enters\n";
  std::string text = FileText();
  EXPECT_TRUE(std::regex_match(text, std::regex(std::string(kStamp) + ".*\n"))) << text;
  ASSERT_GE(text.size(), 24u);
  EXPECT_EQ(text.substr(24), expected);
}

TEST_F(DebugLogWriter, MessageArgumentsFollowTheWideFormat) {
  ZENT_LOG(1, L"%s does not have valid Halvane sign. nRet = %d (%S)\n", L"C:\\caf\u00E9.exe", -5,
           "Z\xC3\xBCrich");
  std::string text = FileText();
  ASSERT_GE(text.size(), 24u);
  std::string message = text.substr(text.find("] ") + 2);
  EXPECT_EQ(message, "C:\\caf\xE9.exe does not have valid Halvane sign. nRet = -5 (Z\xC3\xBCrich)\n");
}

TEST_F(DebugLogWriter, MultiLineMessageHasOneStamp) {
  ZENT_LOG(1, L"Can't talk to driver.\nIs it loaded? Are you root?\n");
  std::string text = FileText();
  std::regex line(std::string(kStamp) + "\\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[TestBody:[0-9]+\\] " +
                  "Can't talk to driver\\.\nIs it loaded\\? Are you root\\?\n");
  EXPECT_TRUE(std::regex_match(text, line)) << text;
}

TEST_F(DebugLogWriter, MessageWithoutLineEndStaysWithoutOne) {
  ZENT_LOG(4, L">>> StartService_(%s)", L"mlfilter");
  ZENT_LOG(4, L"<<< StartService_(%s)", L"mlfilter");
  s_Settings.DebugLevel = 4;
  ZENT_LOG(4, L">>> StartService_(%s)", L"mlfilter");
  ZENT_LOG(4, L"<<< StartService_(%s)", L"mlfilter");
  std::string text = FileText();
  std::regex lines(std::string(kStamp) + "\\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[TestBody:[0-9]+\\] >>> StartService_\\(mlfilter\\)" +
                   kStamp + "\\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[TestBody:[0-9]+\\] <<< StartService_\\(mlfilter\\)");
  EXPECT_TRUE(std::regex_match(text, lines)) << text;
}

TEST_F(DebugLogWriter, MessageAtTheThresholdIsWrittenAndOneAboveIsNot) {
  s_Settings.DebugLevel = 3;
  ZENT_LOG(3, L"at threshold\n");
  ZENT_LOG(4, L"above threshold\n");
  std::string text = FileText();
  EXPECT_NE(text.find("] at threshold\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("above threshold"), std::string::npos) << text;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1);
}

TEST_F(DebugLogWriter, DisabledLevelDoesNotEvaluateItsArguments) {
  int evaluated = 0;
  auto costly = [&] { ++evaluated; return 1; };
  ZENT_LOG(6, L"poll %d\n", costly());
  EXPECT_EQ(evaluated, 0);
  ZENT_LOG(3, L"progress %d\n", costly());
  EXPECT_EQ(evaluated, 1);
}

TEST_F(DebugLogWriter, DebugLevelZeroSilencesErrorsToo) {
  s_Settings.DebugLevel = 0;
  ZENT_LOG(1, L"error=%d\n", 5);
  EXPECT_EQ(FileText(), "");
  EXPECT_EQ(s_DebugLog.logSize, 0);
}

TEST_F(DebugLogWriter, SizeCountsStampAndText) {
  ZENT_LOG(3, L"0123456789\n");
  std::string text = FileText();
  EXPECT_EQ(s_DebugLog.logSize, static_cast<int32_t>(text.size()));
  s_DebugLog.logSize = 1000;
  ZENT_LOG(3, L"0123456789\n");
  EXPECT_EQ(s_DebugLog.logSize, static_cast<int32_t>(1000 + text.size()));
}

TEST_F(DebugLogWriter, ZeroCharacterEndsTheLine) {
  ZENT_LOG(3, L"before%cafter\n", L'\0');
  std::string text = FileText();
  ASSERT_GE(text.size(), 24u);
  EXPECT_EQ(text.substr(text.size() - 8), "] before");
}

TEST_F(DebugLogWriter, NoFileMeansNothingIsWritten) {
  std::fclose(s_DebugLog.stream);
  s_DebugLog.stream = nullptr;
  ZENT_LOG(1, L"lost\n");
  EXPECT_EQ(s_DebugLog.logSize, 0);
}

#ifdef _WIN32
bool RotationRequested() { return WaitForSingleObject(hLogFileEvent, 0) == WAIT_OBJECT_0; }
class DebugLogRotation : public DebugLogWriter {
 protected:
  void SetUp() override {
    DebugLogWriter::SetUp();
    hLogFileEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  }
  void TearDown() override {
    CloseHandle(hLogFileEvent);
    hLogFileEvent = nullptr;
    DebugLogWriter::TearDown();
  }
};
#else
bool RotationRequested() { return s_LogRotationRequests.exchange(0) > 0; }
class DebugLogRotation : public DebugLogWriter {
 protected:
  void SetUp() override {
    DebugLogWriter::SetUp();
    s_LogRotationRequests = 0;
  }
};
#endif

TEST_F(DebugLogRotation, LineThatCrossesTheLimitAsksForRotation) {
  ZENT_LOG(3, L"first\n");
  int32_t oneLine = s_DebugLog.logSize;
  s_Settings.LogFileSizeLimit = oneLine * 2;
  EXPECT_FALSE(RotationRequested());
  ZENT_LOG(3, L"first\n");
  EXPECT_EQ(s_DebugLog.logSize, oneLine * 2);
  EXPECT_TRUE(RotationRequested());
}

TEST_F(DebugLogRotation, BelowTheLimitNothingIsAsked) {
  s_Settings.LogFileSizeLimit = 1 << 20;
  ZENT_LOG(3, L"small\n");
  EXPECT_FALSE(RotationRequested());
}

TEST_F(DebugLogRotation, ZeroLimitNeverRotates) {
  s_Settings.LogFileSizeLimit = 0;
  s_DebugLog.logSize = 0x7FFF0000;
  ZENT_LOG(3, L"grows without limit\n");
  EXPECT_FALSE(RotationRequested());
}

}  // namespace
