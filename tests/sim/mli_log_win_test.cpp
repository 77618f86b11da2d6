// mli_get_log of the stand-in: a log script's records delivered as the
// driver delivers its own, the queue a slow reader overflows, the idle wait,
// and the records a test reads back.
#include "mli_log_channel_win.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <thread>

namespace {

using zentsim::testing::kFailingCallEntry;
using zentsim::testing::kGeneratorEntry;
using zentsim::testing::kNullExtraFlag;
using zentsim::testing::kRecordPointerFlag;
using zentsim::testing::LogRead;
using zentsim::testing::LogScriptEntry;
using zentsim::testing::PatternRecord;

using MliGetLog = zentsim::testing::MliLogChannel;

// A record entry whose only difference from its neighbours is its logId.
LogScriptEntry Marker(int32_t logId) {
  LogScriptEntry entry;
  entry.record = PatternRecord(0x10, logId, 0);
  return entry;
}

// ---- one delivery

TEST_F(MliGetLog, DeliversTheRecordByteForByteWithItsExtraAndData) {
  LogScriptEntry entry;
  entry.record = PatternRecord(0x21, 7, 10);
  entry.extra = "EXTRA";
  entry.data = std::string("\x01\x02\x03\x04", 4);
  PlayScript({entry});

  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.record.substr(0, 184), entry.record.substr(0, 184));
  ASSERT_NE(read.extra, nullptr);
  EXPECT_EQ(read.extraLength, 5u);
  EXPECT_EQ(std::string(static_cast<const char*>(read.extra), 5), "EXTRA");
  // dataLength 10 with 4 bytes given: the 6 behind them are zeros.
  ASSERT_NE(read.DataPointer(), nullptr);
  EXPECT_EQ(std::string(read.DataPointer(), 10), std::string("\x01\x02\x03\x04\0\0\0\0\0\0", 10));
}

TEST_F(MliGetLog, DataBytesBeyondDataLengthAreAllThere) {
  LogScriptEntry entry;
  entry.record = PatternRecord(0x21, 7, 2);
  entry.data = "abcdef";
  PlayScript({entry});

  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 0);
  ASSERT_NE(read.DataPointer(), nullptr);
  EXPECT_EQ(std::string(read.DataPointer(), 6), "abcdef");
}

TEST_F(MliGetLog, NullExtraFlagHandsANullPointerWithTheLength) {
  LogScriptEntry entry;
  entry.flags = kNullExtraFlag;
  entry.record = PatternRecord(0x33, 8, 0);
  entry.extra = "12345";
  PlayScript({entry});

  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.extra, nullptr);
  EXPECT_EQ(read.extraLength, 5u);
}

TEST_F(MliGetLog, NoExtraBytesGiveANullPointerAndLengthZero) {
  LogScriptEntry entry;
  entry.record = PatternRecord(0x33, 8, 0);
  PlayScript({entry});

  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.extra, nullptr);
  EXPECT_EQ(read.extraLength, 0u);
}

TEST_F(MliGetLog, RecordPointerFlagDeliversBytes184To191AsGiven) {
  LogScriptEntry entry;
  entry.flags = kRecordPointerFlag;
  entry.record = PatternRecord(0x44, 9, 16);
  entry.data = "ignored";
  PlayScript({entry});

  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.record, entry.record);
}

TEST_F(MliGetLog, RecordPointerFlagWithZerosGivesANullDataPointer) {
  LogScriptEntry entry;
  entry.flags = kRecordPointerFlag;
  entry.record = PatternRecord(0x44, 9, 16);
  entry.record.replace(184, 8, std::string(8, '\0'));
  PlayScript({entry});

  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.DataPointer(), nullptr);
  EXPECT_EQ(read.record.substr(0, 184), entry.record.substr(0, 184));
}

TEST_F(MliGetLog, FailingCallFillsTheBlockAndReturnsItsResult) {
  LogScriptEntry entry;
  entry.kind = kFailingCallEntry;
  entry.result = 31;
  entry.record = PatternRecord(0x55, 10, 3);
  entry.extra = "xy";
  entry.data = "dat";
  PlayScript({entry});

  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 31);
  EXPECT_EQ(read.record.substr(0, 184), entry.record.substr(0, 184));
  ASSERT_NE(read.extra, nullptr);
  EXPECT_EQ(read.extraLength, 2u);
  EXPECT_EQ(std::string(static_cast<const char*>(read.extra), 2), "xy");
  ASSERT_NE(read.DataPointer(), nullptr);
  EXPECT_EQ(std::string(read.DataPointer(), 3), "dat");
  EXPECT_EQ(Error(), "scripted failure");
}

TEST_F(MliGetLog, RecordEntryReturnsTheResultItGives) {
  LogScriptEntry entry = Marker(11);
  entry.result = 5;
  PlayScript({entry});

  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 5);
  EXPECT_EQ(read.LogId(), 11);
}

// ---- counts, generators, order

TEST_F(MliGetLog, CountDeliversTheEntryThatManyTimes) {
  LogScriptEntry entry;
  entry.count = 3;
  entry.record = PatternRecord(0x66, 12, 0);
  PlayScript({entry, Marker(99)});

  for (int i = 0; i < 3; ++i) {
    LogRead read = ReadOne();
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.record.substr(0, 184), entry.record.substr(0, 184)) << "delivery " << i;
  }
  EXPECT_EQ(ReadOne().LogId(), 99);
}

TEST_F(MliGetLog, CountZeroDeliversOnce) {
  PlayScript({Marker(1), Marker(2)});

  EXPECT_EQ(ReadOne().LogId(), 1);
  EXPECT_EQ(ReadOne().LogId(), 2);
}

TEST_F(MliGetLog, FailingCallWithACountFailsThatManyTimes) {
  LogScriptEntry entry = Marker(13);
  entry.kind = kFailingCallEntry;
  entry.result = 1;
  entry.count = 2;
  PlayScript({entry, Marker(99)});

  EXPECT_EQ(ReadOne().result, 1);
  EXPECT_EQ(ReadOne().result, 1);
  LogRead last = ReadOne();
  EXPECT_EQ(last.result, 0);
  EXPECT_EQ(last.LogId(), 99);
}

TEST_F(MliGetLog, GeneratorCountsLogIdUpFromTheTemplate) {
  LogScriptEntry entry;
  entry.kind = kGeneratorEntry;
  entry.count = 3;
  entry.record = PatternRecord(0x77, 41, 0);
  PlayScript({entry, Marker(99)});

  for (int32_t id : {41, 42, 43}) {
    LogRead read = ReadOne();
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.LogId(), id);
    EXPECT_EQ(read.record.substr(0, 24), entry.record.substr(0, 24));
    EXPECT_EQ(read.record.substr(28, 156), entry.record.substr(28, 156));
  }
  EXPECT_EQ(ReadOne().LogId(), 99);
}

TEST_F(MliGetLog, GeneratorWithCountZeroDeliversNothing) {
  LogScriptEntry entry = Marker(50);
  entry.kind = kGeneratorEntry;
  PlayScript({entry, Marker(99)});

  EXPECT_EQ(ReadOne().LogId(), 99);
}

TEST_F(MliGetLog, EntriesPlayInTheirOrder) {
  LogScriptEntry failing = Marker(2);
  failing.kind = kFailingCallEntry;
  failing.result = 31;
  LogScriptEntry generator = Marker(3);
  generator.kind = kGeneratorEntry;
  generator.count = 2;
  PlayScript({Marker(1), failing, generator});

  LogRead first = ReadOne();
  LogRead second = ReadOne();
  LogRead third = ReadOne();
  LogRead fourth = ReadOne();
  EXPECT_EQ(first.LogId(), 1);
  EXPECT_EQ(first.result, 0);
  EXPECT_EQ(second.LogId(), 2);
  EXPECT_EQ(second.result, 31);
  EXPECT_EQ(third.LogId(), 3);
  EXPECT_EQ(fourth.LogId(), 4);
}

// ---- rates and the driver's queue

TEST_F(MliGetLog, RateDropsWhatAFullQueueCannotHoldWhileTheReaderIsAway) {
  mli.Set(L"QueueRecords", 3);
  mli.Set(L"IdleWaitMs", 100);
  LogScriptEntry entry = Marker(100);
  entry.kind = kGeneratorEntry;
  entry.count = 20;
  entry.rate = 100;
  PlayScript({entry});

  // The first copy exists as the script starts; the reader then stays away
  // for longer than the 20 copies take at 100 a second. Of the 19 made
  // meanwhile the queue keeps the first three.
  EXPECT_EQ(ReadOne().LogId(), 100);
  Sleep(500);
  EXPECT_EQ(ReadOne().LogId(), 101);
  EXPECT_EQ(ReadOne().LogId(), 102);
  EXPECT_EQ(ReadOne().LogId(), 103);
  EXPECT_NE(ReadOne().result, 0);
  Close();
  EXPECT_EQ(mli.Dword(L"LogRecordsDelivered"), 4u);
  EXPECT_EQ(mli.Dword(L"DroppedByDriver"), 16u);
}

TEST_F(MliGetLog, RateKeepsEveryCopyWhileTheQueueHasRoom) {
  mli.Set(L"IdleWaitMs", 100);
  LogScriptEntry entry = Marker(0);
  entry.kind = kGeneratorEntry;
  entry.count = 5;
  entry.rate = 50;
  PlayScript({entry});

  for (int32_t id = 0; id < 5; ++id) {
    LogRead read = ReadOne();
    EXPECT_EQ(read.result, 0);
    EXPECT_EQ(read.LogId(), id);
  }
  EXPECT_NE(ReadOne().result, 0);
  Close();
  EXPECT_EQ(mli.Dword(L"LogRecordsDelivered"), 5u);
  EXPECT_EQ(mli.Dword(L"DroppedByDriver"), std::nullopt);
}

TEST_F(MliGetLog, RateAppliesToARepeatedRecordToo) {
  mli.Set(L"QueueRecords", 1);
  mli.Set(L"IdleWaitMs", 100);
  LogScriptEntry entry = Marker(7);
  entry.count = 10;
  entry.rate = 100;
  PlayScript({entry});

  EXPECT_EQ(ReadOne().LogId(), 7);
  Sleep(500);
  EXPECT_EQ(ReadOne().LogId(), 7);
  EXPECT_NE(ReadOne().result, 0);
  Close();
  EXPECT_EQ(mli.Dword(L"LogRecordsDelivered"), 2u);
  EXPECT_EQ(mli.Dword(L"DroppedByDriver"), 8u);
}

// ---- when a script plays

TEST_F(MliGetLog, ScriptIsNotPlayedAgainWhileUnchanged) {
  mli.Set(L"IdleWaitMs", 100);
  PlayScript({Marker(1)});

  EXPECT_EQ(ReadOne().result, 0);
  LogRead again = ReadOne();
  EXPECT_NE(again.result, 0);
  EXPECT_EQ(Error(), "no log record");
  Close();
  EXPECT_EQ(mli.Dword(L"ScriptsPlayed"), 1u);
}

// Gives a file a last-write time of its own: 2020-01-01 plus `seconds`.
void SetWriteTime(const std::wstring& path, unsigned seconds) {
  HANDLE file = CreateFileW(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  uint64_t ticks = 132223104000000000ull + seconds * 10000000ull;
  FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &time));
  CloseHandle(file);
}

TEST_F(MliGetLog, ScriptIsPlayedAgainWhenItsWriteTimeChanges) {
  mli.Set(L"IdleWaitMs", 100);
  std::wstring path = PlayScript({Marker(1)});
  SetWriteTime(path, 0);
  EXPECT_EQ(ReadOne().LogId(), 1);
  EXPECT_NE(ReadOne().result, 0);

  SetWriteTime(path, 60);
  LogRead replayed = ReadOne();
  EXPECT_EQ(replayed.result, 0);
  EXPECT_EQ(replayed.LogId(), 1);
}

TEST_F(MliGetLog, ScriptIsPlayedAgainWhenItsSizeChanges) {
  mli.Set(L"IdleWaitMs", 100);
  std::wstring path = PlayScript({Marker(1)});
  SetWriteTime(path, 0);
  EXPECT_EQ(ReadOne().LogId(), 1);
  EXPECT_NE(ReadOne().result, 0);

  // Same name, same time, one entry more.
  RewriteScriptFile(path, zentsim::testing::LogScriptBytes({Marker(2), Marker(3)}));
  SetWriteTime(path, 0);
  EXPECT_EQ(ReadOne().LogId(), 2);
  EXPECT_EQ(ReadOne().LogId(), 3);
}

TEST_F(MliGetLog, ScriptIsPlayedAgainUnderAnotherPath) {
  mli.Set(L"IdleWaitMs", 100);
  std::wstring first = PlayScript({Marker(1)});
  SetWriteTime(first, 0);
  EXPECT_EQ(ReadOne().LogId(), 1);
  EXPECT_NE(ReadOne().result, 0);

  std::wstring second = PlayScript({Marker(1)});
  SetWriteTime(second, 0);
  LogRead replayed = ReadOne();
  EXPECT_EQ(replayed.result, 0);
  EXPECT_EQ(replayed.LogId(), 1);
}

TEST_F(MliGetLog, NewScriptWaitsUntilThePlayingOneIsTaken) {
  PlayScript({Marker(1), Marker(2)});
  EXPECT_EQ(ReadOne().LogId(), 1);
  PlayScript({Marker(3)});
  EXPECT_EQ(ReadOne().LogId(), 2);
  EXPECT_EQ(ReadOne().LogId(), 3);
}

TEST_F(MliGetLog, TruncatedScriptIsRefusedWithItsEntry) {
  mli.Set(L"IdleWaitMs", 100);
  std::string bytes = zentsim::testing::LogScriptBytes({Marker(1), Marker(2)});
  bytes.pop_back();
  mli.Set(L"LogScript", WriteScriptFile(bytes));

  LogRead read = ReadOne();
  EXPECT_NE(read.result, 0);
  EXPECT_EQ(Error(), "no log record");
  EXPECT_EQ(mli.String(L"LastScriptError"), L"entry 2: truncated");
  Close();
  EXPECT_EQ(mli.Dword(L"ScriptsPlayed"), std::nullopt);
  EXPECT_EQ(mli.Dword(L"LogRecordsDelivered"), std::nullopt);
}

TEST_F(MliGetLog, HeaderWithoutItsRecordIsTruncated) {
  mli.Set(L"IdleWaitMs", 100);
  std::string bytes = zentsim::testing::LogScriptBytes({Marker(1), Marker(2)});
  mli.Set(L"LogScript", WriteScriptFile(bytes + bytes.substr(0, 30)));

  EXPECT_NE(ReadOne().result, 0);
  EXPECT_EQ(mli.String(L"LastScriptError"), L"entry 3: truncated");
}

TEST_F(MliGetLog, UnknownKindIsRefused) {
  mli.Set(L"IdleWaitMs", 100);
  LogScriptEntry entry = Marker(1);
  entry.kind = 3;
  PlayScript({entry});

  EXPECT_NE(ReadOne().result, 0);
  EXPECT_EQ(mli.String(L"LastScriptError"), L"entry 1: unknown kind 3");
}

TEST_F(MliGetLog, UnknownFlagsAreRefused) {
  mli.Set(L"IdleWaitMs", 100);
  LogScriptEntry entry = Marker(1);
  entry.flags = 4;
  PlayScript({Marker(1), entry});

  EXPECT_NE(ReadOne().result, 0);
  EXPECT_EQ(mli.String(L"LastScriptError"), L"entry 2: unknown flags 4");
}

TEST_F(MliGetLog, EmptyScriptIsRefused) {
  mli.Set(L"IdleWaitMs", 100);
  mli.Set(L"LogScript", WriteScriptFile(""));

  EXPECT_NE(ReadOne().result, 0);
  EXPECT_EQ(mli.String(L"LastScriptError"), L"no entries");
}

TEST_F(MliGetLog, MissingScriptFileIsRefused) {
  mli.Set(L"IdleWaitMs", 100);
  mli.Set(L"LogScript", L"C:\\windows\\temp\\zent-no-such-script.bin");

  EXPECT_NE(ReadOne().result, 0);
  EXPECT_EQ(mli.String(L"LastScriptError"), L"cannot be read: error 2");
}

TEST_F(MliGetLog, RefusedScriptIsNotTriedAgainUntilItChanges) {
  mli.Set(L"IdleWaitMs", 100);
  std::string bytes = zentsim::testing::LogScriptBytes({Marker(1)});
  std::wstring path = WriteScriptFile(bytes.substr(0, 100));
  mli.Set(L"LogScript", path);
  EXPECT_NE(ReadOne().result, 0);
  EXPECT_EQ(mli.String(L"LastScriptError"), L"entry 1: truncated");

  // A second try would write the reason again.
  mli.Set(L"LastScriptError", std::wstring(L"seen"));
  EXPECT_NE(ReadOne().result, 0);
  EXPECT_EQ(mli.String(L"LastScriptError"), L"seen");

  RewriteScriptFile(path, bytes);
  LogRead read = ReadOne();
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.LogId(), 1);
}

// ---- waiting for a record

TEST_F(MliGetLog, IdleReadEndsAfterIdleWaitMsWithNoRecord) {
  mli.Set(L"IdleWaitMs", 300);
  RegisterStopEvent(false);
  LogRead read = ReadOne();
  EXPECT_EQ(read.result, -1);
  EXPECT_EQ(Error(), "no log record");
  EXPECT_EQ(read.extra, nullptr);
  EXPECT_EQ(read.extraLength, 0u);
  EXPECT_GE(read.elapsedMs, 250u);
  EXPECT_LT(read.elapsedMs, 10000u);
}

TEST_F(MliGetLog, IdleReadWaitsWithoutARegisteredEventToo) {
  mli.Set(L"IdleWaitMs", 300);
  LogRead read = ReadOne();
  EXPECT_EQ(read.result, -1);
  EXPECT_GE(read.elapsedMs, 250u);
  EXPECT_LT(read.elapsedMs, 10000u);
}

TEST_F(MliGetLog, ReturnsWhenTheStopEventIsAlreadySignalled) {
  RegisterStopEvent(true);
  LogRead read = ReadOne();
  EXPECT_EQ(read.result, -1);
  EXPECT_LT(read.elapsedMs, 10000u);
}

TEST_F(MliGetLog, EngineStopEndsAnIdleRead) {
  HANDLE stop = RegisterStopEvent(false);
  std::thread stopper([stop] {
    Sleep(100);
    SetEvent(stop);
  });
  LogRead read = ReadOne();
  stopper.join();
  EXPECT_EQ(read.result, -1);
  EXPECT_LT(read.elapsedMs, 10000u);
}

TEST_F(MliGetLog, KeepsItsOwnReferenceToTheStopEvent) {
  HANDLE stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  ASSERT_EQ(mli_register_event(handle, 0, stop), 0);
  HANDLE signaller = nullptr;
  DuplicateHandle(GetCurrentProcess(), stop, GetCurrentProcess(), &signaller, 0, FALSE, DUPLICATE_SAME_ACCESS);
  CloseHandle(stop);
  SetEvent(signaller);
  EXPECT_LT(ReadOne().elapsedMs, 10000u);
  CloseHandle(signaller);
}

TEST_F(MliGetLog, ScriptArrivingDuringAnIdleReadIsDelivered) {
  std::wstring path = WriteScriptFile(zentsim::testing::LogScriptBytes({Marker(5)}));
  std::thread writer([this, path] {
    Sleep(200);
    mli.Set(L"LogScript", path);
  });
  LogRead read = ReadOne();
  writer.join();
  EXPECT_EQ(read.result, 0);
  EXPECT_EQ(read.LogId(), 5);
  EXPECT_LT(read.elapsedMs, 10000u);
}

// ---- records

TEST_F(MliGetLog, RecordsCountCallsDeliveriesAndScripts) {
  mli.Set(L"IdleWaitMs", 100);
  LogScriptEntry failing = Marker(2);
  failing.kind = kFailingCallEntry;
  failing.result = 1;
  LogScriptEntry generator = Marker(3);
  generator.kind = kGeneratorEntry;
  generator.count = 2;
  PlayScript({Marker(1), failing, generator});
  for (int i = 0; i < 5; ++i) ReadOne();
  Close();

  EXPECT_EQ(mli.Dword(L"LogCalls"), 5u);
  EXPECT_EQ(mli.Dword(L"LogRecordsDelivered"), 3u);
  EXPECT_EQ(mli.Dword(L"LogFailuresDelivered"), 1u);
  EXPECT_EQ(mli.Dword(L"ScriptsPlayed"), 1u);
  EXPECT_EQ(mli.Dword(L"DroppedByDriver"), std::nullopt);
}

TEST_F(MliGetLog, RecordsReachTheRegistryWhileTheChannelStaysOpen) {
  PlayScript({Marker(1), Marker(2)});
  EXPECT_EQ(ReadOne().result, 0);
  EXPECT_EQ(AwaitDword(L"LogRecordsDelivered", 1), 1u);
  EXPECT_EQ(AwaitDword(L"LogCalls", 1), 1u);
}

TEST_F(MliGetLog, ScriptTimesAreTakenAtItsFirstRecordAndWhenTheReaderHasTakenAll) {
  mli.Set(L"IdleWaitMs", 100);
  PlayScript({Marker(1), Marker(2)});
  LARGE_INTEGER beforeFirst, afterFirst, beforeDone, afterDone, frequency;
  QueryPerformanceCounter(&beforeFirst);
  ReadOne();
  QueryPerformanceCounter(&afterFirst);
  ReadOne();
  QueryPerformanceCounter(&beforeDone);
  EXPECT_NE(ReadOne().result, 0);
  QueryPerformanceCounter(&afterDone);
  QueryPerformanceFrequency(&frequency);

  // Written as the script ends, without waiting for the next batch.
  std::optional<uint64_t> first = mli.Qword(L"ScriptFirstQpc");
  std::optional<uint64_t> done = mli.Qword(L"ScriptDoneQpc");
  ASSERT_TRUE(first && done);
  EXPECT_GE(*first, static_cast<uint64_t>(beforeFirst.QuadPart));
  EXPECT_LE(*first, static_cast<uint64_t>(afterFirst.QuadPart));
  EXPECT_GE(*done, static_cast<uint64_t>(beforeDone.QuadPart));
  EXPECT_LE(*done, static_cast<uint64_t>(afterDone.QuadPart));
  EXPECT_EQ(mli.Qword(L"QpcFrequency"), static_cast<uint64_t>(frequency.QuadPart));
}

TEST_F(MliGetLog, ScriptDoneQpcWaitsForTheReaderToComeBack) {
  mli.Set(L"IdleWaitMs", 100);
  PlayScript({Marker(1)});
  EXPECT_EQ(ReadOne().result, 0);
  Close();
  EXPECT_NE(mli.Qword(L"ScriptFirstQpc"), std::nullopt);
  EXPECT_EQ(mli.Qword(L"ScriptDoneQpc"), std::nullopt);
}

// ---- closing

TEST_F(MliGetLog, CloseDuringAnIdleReadIsCountedAndEndsTheRead) {
  int result = 0;
  std::thread reader([this, &result] { result = ReadOne().result; });
  // LogCalls shows that the read has begun.
  ASSERT_EQ(AwaitDword(L"LogCalls", 1), 1u);
  DWORD start = GetTickCount();
  Close();
  DWORD closeMs = GetTickCount() - start;
  reader.join();
  EXPECT_EQ(result, -1);
  EXPECT_LT(closeMs, 10000u);
  EXPECT_EQ(mli.Dword(L"ClosedDuringCall"), 1u);
  EXPECT_EQ(mli.Dword(L"Closed"), 1u);
}

TEST_F(MliGetLog, CloseWithNoCallUnderWayCountsNoneDuringACall) {
  mli.Set(L"IdleWaitMs", 100);
  ReadOne();
  Close();
  EXPECT_EQ(mli.Dword(L"ClosedDuringCall"), std::nullopt);
  EXPECT_EQ(mli.Dword(L"Closed"), 1u);
}

}  // namespace
