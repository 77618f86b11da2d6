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

Read ReadOneRecord(MLI_HANDLE handle) {
  unsigned char record[MLI_LOG_RECORD_SIZE] = {};
  void* extra = &record;
  uint32_t extraLength = 7;
  DWORD start = GetTickCount();
  int result = mli_get_log(handle, record, &extra, &extraLength);
  EXPECT_EQ(extra, nullptr);
  EXPECT_EQ(extraLength, 0u);
  return {result, GetTickCount() - start};
}

TEST(MliGetLog, WaitsAboutHalfASecondThenReportsNoRecord) {
  SimScope scope;
  HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  MLI_HANDLE handle = mli_open();
  ASSERT_EQ(mli_register_event(handle, 0, stop), 0);
  Read read = ReadOneRecord(handle);
  EXPECT_NE(read.result, 0);
  EXPECT_GE(read.elapsedMs, 450u);
  EXPECT_LT(read.elapsedMs, 3000u);
  char text[128] = {};
  mli_get_error(handle, text, sizeof text);
  EXPECT_STREQ(text, "no log record");
  mli_close(handle);
  CloseHandle(stop);
}

TEST(MliGetLog, WaitsWithoutARegisteredEventToo) {
  SimScope scope;
  MLI_HANDLE handle = mli_open();
  Read read = ReadOneRecord(handle);
  EXPECT_NE(read.result, 0);
  EXPECT_GE(read.elapsedMs, 450u);
  mli_close(handle);
}

TEST(MliGetLog, ReturnsAtOnceWhenTheStopEventIsSignalled) {
  SimScope scope;
  HANDLE stop = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  MLI_HANDLE handle = mli_open();
  ASSERT_EQ(mli_register_event(handle, 0, stop), 0);
  Read read = ReadOneRecord(handle);
  EXPECT_NE(read.result, 0);
  EXPECT_LT(read.elapsedMs, 300u);
  mli_close(handle);
  CloseHandle(stop);
}

TEST(MliGetLog, EndsAWaitInProgressWhenTheEngineStops) {
  SimScope scope;
  HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  MLI_HANDLE handle = mli_open();
  ASSERT_EQ(mli_register_event(handle, 0, stop), 0);
  // The engine's stop arrives while the pump is blocked in its read.
  HANDLE stopper = CreateThread(
      nullptr, 0,
      [](void* event) -> DWORD {
        Sleep(100);
        SetEvent(static_cast<HANDLE>(event));
        return 0;
      },
      stop, 0, nullptr);
  Read read = ReadOneRecord(handle);
  EXPECT_LT(read.elapsedMs, 450u);
  WaitForSingleObject(stopper, INFINITE);
  CloseHandle(stopper);
  mli_close(handle);
  CloseHandle(stop);
}

TEST(MliGetLog, KeepsItsOwnReferenceToTheEvent) {
  SimScope scope;
  HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  MLI_HANDLE handle = mli_open();
  ASSERT_EQ(mli_register_event(handle, 0, stop), 0);
  HANDLE signaller = nullptr;
  DuplicateHandle(GetCurrentProcess(), stop, GetCurrentProcess(), &signaller, 0, FALSE,
                  DUPLICATE_SAME_ACCESS);
  CloseHandle(stop);
  SetEvent(signaller);
  EXPECT_LT(ReadOneRecord(handle).elapsedMs, 300u);
  mli_close(handle);
  CloseHandle(signaller);
}

}  // namespace
