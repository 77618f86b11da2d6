// What the debug log writer gives the debugger: the line without its time
// stamp when DbgviewLog is on, and the note of a failed file write always.
#include "log/debug_log.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {

#ifdef _WIN32
// Listens as a debug monitor does: the shared buffer "DBWIN_BUFFER" holds the
// writer's process id and one text at a time; the writer waits for the
// monitor to take each text before it hands over the next.
class DebuggerOutput {
 public:
  DebuggerOutput() {
    bufferReady_ = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY");
    dataReady_ = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY");
    stop_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    mapping_ = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, L"DBWIN_BUFFER");
    view_ = static_cast<char*>(MapViewOfFile(mapping_, FILE_MAP_READ, 0, 0, 4096));
    SetEvent(bufferReady_);
    listener_ = std::thread([this] { Listen(); });
  }
  ~DebuggerOutput() {
    Stop();
    UnmapViewOfFile(view_);
    CloseHandle(mapping_);
    CloseHandle(stop_);
    CloseHandle(dataReady_);
    CloseHandle(bufferReady_);
  }
  // Every text handed over so far: a text is in the buffer before the
  // writer's call returns.
  std::vector<std::string> Texts() {
    Stop();
    return texts_;
  }

 private:
  void Listen() {
    HANDLE waits[] = {dataReady_, stop_};
    for (;;) {
      DWORD which = WaitForMultipleObjects(2, waits, FALSE, INFINITE);
      if (which == WAIT_OBJECT_0) {
        texts_.emplace_back(view_ + sizeof(DWORD));
        SetEvent(bufferReady_);
      } else {
        if (WaitForSingleObject(dataReady_, 0) == WAIT_OBJECT_0) texts_.emplace_back(view_ + sizeof(DWORD));
        return;
      }
    }
  }
  void Stop() {
    if (!listener_.joinable()) return;
    SetEvent(stop_);
    listener_.join();
  }
  HANDLE bufferReady_, dataReady_, stop_, mapping_;
  char* view_;
  std::vector<std::string> texts_;
  std::thread listener_;
};
#else
// Natively the debugger's output is standard error.
class DebuggerOutput {
 public:
  DebuggerOutput() { ::testing::internal::CaptureStderr(); }
  ~DebuggerOutput() {
    if (!taken_) ::testing::internal::GetCapturedStderr();
  }
  std::vector<std::string> Texts() {
    std::string all = ::testing::internal::GetCapturedStderr();
    taken_ = true;
    std::vector<std::string> texts;
    for (size_t at = 0; at < all.size();) {
      size_t end = all.find('\n', at);
      end = end == std::string::npos ? all.size() : end + 1;
      texts.push_back(all.substr(at, end - at));
      at = end;
    }
    return texts;
  }

 private:
  bool taken_ = false;
};
#endif

std::string Prefix(const char* function, int line) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "[%4X][ZTENG][%s:%d] ", LogCurrentThreadId(), function, line);
  return buf;
}

class DebugLogDebugger : public ::testing::Test {
 protected:
  void SetUp() override { s_Settings = ZentSettings{}; }
  void TearDown() override {
    if (s_DebugLog.stream != nullptr) std::fclose(s_DebugLog.stream);
    s_DebugLog.stream = nullptr;
    s_DebugLog.logSize = 0;
    s_Settings = ZentSettings{};
    std::remove(kReadOnlyLog);
  }
  static constexpr const char* kReadOnlyLog = "zent_debug_log_readonly.tmp";
};

TEST_F(DebugLogDebugger, DbgviewLogSendsTheLineWithoutStamp) {
  s_Settings.DbgviewLog = true;
  DebuggerOutput debugger;
  ZENT_LOG(2, L"ZentAgent -service\n"); int line = __LINE__;
  ZENT_LOG(3, L"Load %s to driver successfully.\n", L"C:\\Zent\\config.rbf"); int line2 = __LINE__;
  std::vector<std::string> expected = {
      Prefix("TestBody", line) + "ZentAgent -service\n",
      Prefix("TestBody", line2) + "Load C:\\Zent\\config.rbf to driver successfully.\n"};
  EXPECT_EQ(debugger.Texts(), expected);
}

TEST_F(DebugLogDebugger, DbgviewLogOffSendsNothing) {
  DebuggerOutput debugger;
  ZENT_LOG(1, L"error=%d\n", 5);
  EXPECT_TRUE(debugger.Texts().empty());
}

TEST_F(DebugLogDebugger, DbgviewLogSendsEvenWithoutAFile) {
  s_Settings.DbgviewLog = true;
  DebuggerOutput debugger;
  ZENT_LOG(1, L"CreateFile for log file fails: error=%d\n", 32); int line = __LINE__;
  EXPECT_EQ(debugger.Texts(), std::vector<std::string>{Prefix("TestBody", line) +
                                                       "CreateFile for log file fails: error=32\n"});
}

TEST_F(DebugLogDebugger, FailedFileWriteIsToldAndTheLogStaysOff) {
  FILE* f = std::fopen(kReadOnlyLog, "w");
  ASSERT_NE(f, nullptr);
  std::fclose(f);
  s_DebugLog.stream = std::fopen(kReadOnlyLog, "r");
  ASSERT_NE(s_DebugLog.stream, nullptr);
  DebuggerOutput debugger;
  ZENT_LOG(1, L"lost line\n");
  EXPECT_EQ(debugger.Texts(), std::vector<std::string>{"WriteFile to Logfile fails!!!\n"});
  EXPECT_EQ(s_DebugLog.stream, nullptr);
  // The stamp's length is counted before the write is found short.
  EXPECT_EQ(s_DebugLog.logSize, 24);
  ZENT_LOG(1, L"second line\n");
  EXPECT_EQ(s_DebugLog.logSize, 24);
}

}  // namespace
