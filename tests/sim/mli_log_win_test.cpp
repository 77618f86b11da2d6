// mli_get_log of the stand-in: no record ever comes, and a read waits for
// one as the driver's does, until the engine's stop event ends the wait.
#include "platform/mli.h"
#include "stand_in_key.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace {

using zentsim::testing::SimScope;

struct Read {
  int result = 0;
  DWORD elapsedMs = 0;
};

class MliGetLog : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(handle, nullptr); }
  void TearDown() override {
    mli_close(handle);
    if (stop) CloseHandle(stop);
  }

  // The engine's stop event, registered as the engine does.
  void RegisterStopEvent(bool signalled) {
    stop = CreateEventW(nullptr, TRUE, signalled, nullptr);
    ASSERT_EQ(mli_register_event(handle, 0, stop), 0);
  }

  Read ReadOneRecord() {
    unsigned char record[MLI_LOG_RECORD_SIZE] = {};
    void* extra = &record;
    uint32_t extraLength = 7;
    DWORD start = GetTickCount();
    int result = mli_get_log(handle, record, &extra, &extraLength);
    EXPECT_EQ(extra, nullptr);
    EXPECT_EQ(extraLength, 0u);
    return {result, GetTickCount() - start};
  }

  SimScope scope;
  MLI_HANDLE handle = mli_open();
  HANDLE stop = nullptr;
};

TEST_F(MliGetLog, WaitsAboutHalfASecondThenReportsNoRecord) {
  RegisterStopEvent(false);
  Read read = ReadOneRecord();
  EXPECT_NE(read.result, 0);
  EXPECT_GE(read.elapsedMs, 450u);
  EXPECT_LT(read.elapsedMs, 3000u);
  char text[128] = {};
  mli_get_error(handle, text, sizeof text);
  EXPECT_STREQ(text, "no log record");
}

TEST_F(MliGetLog, WaitsWithoutARegisteredEventToo) {
  Read read = ReadOneRecord();
  EXPECT_NE(read.result, 0);
  EXPECT_GE(read.elapsedMs, 450u);
}

TEST_F(MliGetLog, ReturnsAtOnceWhenTheStopEventIsSignalled) {
  RegisterStopEvent(true);
  Read read = ReadOneRecord();
  EXPECT_NE(read.result, 0);
  EXPECT_LT(read.elapsedMs, 300u);
}

TEST_F(MliGetLog, EndsAWaitInProgressWhenTheEngineStops) {
  RegisterStopEvent(false);
  // The engine's stop arrives while the pump is blocked in its read.
  HANDLE stopper = CreateThread(
      nullptr, 0,
      [](void* event) -> DWORD {
        Sleep(100);
        SetEvent(static_cast<HANDLE>(event));
        return 0;
      },
      stop, 0, nullptr);
  EXPECT_LT(ReadOneRecord().elapsedMs, 450u);
  WaitForSingleObject(stopper, INFINITE);
  CloseHandle(stopper);
}

TEST_F(MliGetLog, KeepsItsOwnReferenceToTheEvent) {
  RegisterStopEvent(false);
  HANDLE signaller = nullptr;
  DuplicateHandle(GetCurrentProcess(), stop, GetCurrentProcess(), &signaller, 0, FALSE,
                  DUPLICATE_SAME_ACCESS);
  CloseHandle(stop);
  stop = nullptr;
  SetEvent(signaller);
  EXPECT_LT(ReadOneRecord().elapsedMs, 300u);
  CloseHandle(signaller);
}

}  // namespace
