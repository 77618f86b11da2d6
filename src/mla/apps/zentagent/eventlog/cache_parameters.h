// The event log's cache parameters: the main log's rotation size and number
// of copies, the record cache's bound and the flush timer's period. The
// manager's policy sets them, through SetCacheParameters, at each load.
#pragma once

#include <cstdint>
#include <mutex>

// Guards the record cache, its files and these parameters; the same thread
// may enter it twice.
extern std::recursive_mutex cacheLock;

extern uint32_t s_LogFileSizeKB;         // main log size in KB at which it rotates
extern int32_t s_NumberOfOldCopies;      // highest number of a rotated copy
extern uint64_t s_LogRecordMapMaxSize;   // bound of the record cache, in records
extern int32_t s_LogFlushLogInterval;    // flush timer period in milliseconds

// A size or count of 0 or less leaves the value that was there; the bound
// and the period are always stored.
void SetCacheParameters(int32_t fileSizeKB, int32_t copies, uint64_t maxRecords, int32_t flushInterval);
