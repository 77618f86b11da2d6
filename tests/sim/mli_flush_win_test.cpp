// mli_flush_logs of the stand-in: its result, its knobs, and a slow flush
// beside the pump's reads on the same handle.
#include "mli_log_channel_win.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <thread>

namespace {

using zentsim::testing::LogRead;
using zentsim::testing::LogScriptEntry;
using zentsim::testing::PatternRecord;

using MliFlushLogs = zentsim::testing::MliLogChannel;

TEST_F(MliFlushLogs, SucceedsAndIsCounted) {
  EXPECT_EQ(mli_flush_logs(handle), 0);
  EXPECT_EQ(mli_flush_logs(handle), 0);
  Close();
  EXPECT_EQ(mli.Dword(L"FlushCalls"), 2u);
}

TEST_F(MliFlushLogs, FlushFailsKnobIsTheResultWithItsText) {
  mli.Set(L"FlushFails", 1460);
  EXPECT_EQ(mli_flush_logs(handle), 1460);
  EXPECT_EQ(Error(), "flush refused by driver");
  Close();
  EXPECT_EQ(mli.Dword(L"FlushCalls"), 1u);
}

TEST_F(MliFlushLogs, FlushDelayMsHoldsTheCall) {
  mli.Set(L"FlushDelayMs", 300);
  DWORD start = GetTickCount();
  EXPECT_EQ(mli_flush_logs(handle), 0);
  DWORD elapsedMs = GetTickCount() - start;
  EXPECT_GE(elapsedMs, 250u);
  EXPECT_LT(elapsedMs, 10000u);
}

TEST_F(MliFlushLogs, ReadGoesOnDuringASlowFlush) {
  mli.Set(L"FlushDelayMs", 5000);
  LogScriptEntry entry;
  entry.record = PatternRecord(0x12, 77, 0);
  PlayScript({entry});
  HANDLE flushed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::thread flusher([this, flushed] {
    mli_flush_logs(handle);
    SetEvent(flushed);
  });
  // FlushCalls shows that the flush has begun.
  ASSERT_EQ(AwaitDword(L"FlushCalls", 1), 1u);

  LogRead read = ReadOne();
  bool flushStillUnderWay = WaitForSingleObject(flushed, 0) == WAIT_TIMEOUT;
  flusher.join();
  CloseHandle(flushed);
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.LogId(), 77);
  EXPECT_TRUE(flushStillUnderWay);
}

TEST_F(MliFlushLogs, CloseDuringAFlushWaitsForItAndIsCounted) {
  mli.Set(L"FlushDelayMs", 1000);
  int result = -2;
  std::thread flusher([this, &result] { result = mli_flush_logs(handle); });
  ASSERT_EQ(AwaitDword(L"FlushCalls", 1), 1u);
  Close();
  // The flush ended before the channel went.
  EXPECT_EQ(result, 0);
  flusher.join();
  EXPECT_EQ(mli.Dword(L"ClosedDuringCall"), 1u);
}

}  // namespace
