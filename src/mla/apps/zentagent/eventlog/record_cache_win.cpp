// The record cache: each record is tried at once, and stays only while its
// single-record file cannot be written; past its bound the oldest goes.
#include "eventlog/cache_parameters.h"
#include "eventlog/event_files_win.h"
#include "log/debug_log.h"

std::vector<CachedRecord> recordCache;

namespace {

// The main log is open only during a pass; rotation is decided on its size
// after the pass, so a file can grow past the limit by what one pass wrote.
void CloseAndRotateMpnpFile() {
  if (!IsLogOpen(hMpnpLog)) return;
  DWORD position = SetFilePointer(hMpnpLog, 0, nullptr, FILE_END);
  if (position == INVALID_SET_FILE_POINTER) {
    DWORD error = GetLastError();
    if (error != 0) {
      // The handle stays as it is: the next pass meets it again.
      ZENT_LOG(1, L"can't get seek position on file descriptor %d, error=%d\n",
               static_cast<int32_t>(reinterpret_cast<intptr_t>(hMpnpLog)), error);
      return;
    }
  }
  CloseLog(hMpnpLog);
  if ((position >> 10) >= s_LogFileSizeKB) RotateMpnpFiles();
}

}  // namespace

uint8_t CacheRecord(const std::string& text, uint64_t firstTime, uint64_t secondTime, uint32_t trailerValue) {
  std::lock_guard<std::recursive_mutex> lock(cacheLock);
  DWORD tick = GetTickCount();
  recordCache.push_back(CachedRecord{text, tick, firstTime, tick, secondTime, trailerValue});
  ZENT_LOG(4, L"CacheRecord() - added record to cache. Size of cache is now %u records\n",
           static_cast<uint32_t>(recordCache.size()));
  return static_cast<uint8_t>(FlushBufferedData());
}

int FlushBufferedData() {
  std::lock_guard<std::recursive_mutex> lock(cacheLock);
  int result = 1;
  DWORD now = GetTickCount();
  // Written records leave; the rest close up in their order.
  size_t kept = 0;
  for (size_t i = 0; i < recordCache.size(); ++i) {
    if (WriteRecord(recordCache[i]) == 1) continue;
    result = 0;
    if (kept != i) recordCache[kept] = std::move(recordCache[i]);
    ++kept;
  }
  recordCache.resize(kept);
  if (recordCache.size() > s_LogRecordMapMaxSize) {
    DWORD age = now - recordCache.front().addedTick;
    ZENT_LOG(3, L"FlushBufferedData() - cache is too big, flushing oldest (%lu msec) record.\n", age);
    if (WriteRecord(recordCache.front()) == 0) result = 0;
    // The one place where a record is lost for want of room.
    recordCache.erase(recordCache.begin());
    ZENT_LOG(4, L"FlushBufferedData() - Remove the oldest record from cache. Size of cache is now %u records.\n",
             static_cast<uint32_t>(recordCache.size()));
  }
  CloseAndRotateMpnpFile();
  return result;
}
