// One formatted record waiting in the cache, and the two lines made of it:
// the single-record file's and the main log's.
#pragma once

#include <cstdint>
#include <string>

struct CachedRecord {
  std::string text;        // the record's columns
  uint32_t addedTick = 0;  // GetTickCount at caching
  uint64_t firstTime = 0;  // microseconds
  uint32_t secondTick = 0;
  uint64_t secondTime = 0;
  uint32_t trailerValue = 0;
};

// The columns, ", %u, %I64u, %I64u" (trailerValue, secondTime, firstTime),
// "\r\n".
std::string SingleRecordLine(const CachedRecord& record);
// "%Y/%m/%d, %H:%M:%S, " in local time of a stamp in microseconds.
std::string MainLogPrefix(uint64_t microseconds);
// MainLogPrefix of firstTime, then the same line.
std::string MainLogLine(const CachedRecord& record);
