// The event log's record cache and its files: the rotating main log
// zent_mpnp in the install directory, and one file per record in the
// suite's folder, which the suite collects. cacheLock (cache_parameters.h)
// guards the cache, both handles and the parameters.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "eventlog/cached_record.h"

// Set when FwDpiServiceFn starts: <install directory>\zent_mpnp and
// <suite directory>\Misc\KLF_IPRODUCT_ZENT.
extern std::wstring s_MpnpLogPath;
extern std::wstring s_VxLogDirectory;
// INVALID_HANDLE_VALUE when closed. The main log is open only during a pass;
// a single-record file only while its one line is written.
extern HANDLE hMpnpLog;
extern HANDLE hVxLog;
// Records whose single-record file could not be written, oldest first.
extern std::vector<CachedRecord> recordCache;

// Caches one formatted record and tries the whole cache at once; the low
// byte of FlushBufferedData's result.
uint8_t CacheRecord(const std::string& text, uint64_t firstTime, uint64_t secondTime, uint32_t trailerValue);
// One pass over the cache, by the pump and by the flush timer: 1 when every
// write of the pass worked.
int FlushBufferedData();
// 1 when the record may leave the cache: its single-record file is written.
int WriteRecord(const CachedRecord& record);
// 0, or -201 (interrupted), -202 (disk full), -203 (other). A fatal failure
// closes the handle and sets the caller's variable to INVALID_HANDLE_VALUE.
int WriteRawData(uint32_t size, const char* buffer, HANDLE& handle);
bool RotateMpnpFiles();
int RemoveOldestZentmpnpFile();
bool InitializeZentmpnpLogFile();
bool InitializeVXLogFile();
// Full access for the Administrators, the file's creator and the system,
// and for nobody else; inherited entries cut off. Never stops the caller.
void SecureFileOrDirectory(const std::wstring& path);

// A log file's handle variable: open unless null or INVALID_HANDLE_VALUE;
// closing sets it to INVALID_HANDLE_VALUE.
inline bool IsLogOpen(HANDLE handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }
inline void CloseLog(HANDLE& handle) {
  if (IsLogOpen(handle)) CloseHandle(handle);
  handle = INVALID_HANDLE_VALUE;
}

// zent_mpnp for n 0, zent_mpnp.<n> otherwise.
std::wstring MpnpFileName(int n);
