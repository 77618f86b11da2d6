#include "eventlog/cache_parameters.h"

#include "log/debug_log.h"

std::recursive_mutex cacheLock;

uint32_t s_LogFileSizeKB = 1024;
int32_t s_NumberOfOldCopies = 7;
uint64_t s_LogRecordMapMaxSize = 128;
int32_t s_LogFlushLogInterval = 60000;

void SetCacheParameters(int32_t fileSizeKB, int32_t copies, uint64_t maxRecords, int32_t flushInterval) {
  std::lock_guard<std::recursive_mutex> lock(cacheLock);
  if (fileSizeKB > 0) s_LogFileSizeKB = static_cast<uint32_t>(fileSizeKB);
  // "keep" counts the files kept, the live one included.
  if (copies > 0) s_NumberOfOldCopies = copies - 1;
  s_LogRecordMapMaxSize = maxRecords;
  s_LogFlushLogInterval = flushInterval;
  // The bound is printed by "%d", so only its low 32 bits show.
  ZENT_LOG(1, L"SetCacheParameters: s_LogFileSizeKB(%d), s_NumberOfOldCopies(%d), s_LogRecordMapMaxSize(%d), "
              L"s_LogFlushLogInterval(%d)\n",
           s_LogFileSizeKB, s_NumberOfOldCopies, static_cast<uint32_t>(s_LogRecordMapMaxSize), s_LogFlushLogInterval);
}
