#include <windows.h>

#include "service/debug_log.h"

// Set by the service's start-up; the flushing thread rotates the file when
// it is signalled.
HANDLE hLogFileEvent = nullptr;

uint32_t LogCurrentThreadId() { return GetCurrentThreadId(); }

LogTime LogLocalTime() {
  SYSTEMTIME st;
  GetLocalTime(&st);
  return {st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds};
}

void LogDebuggerOutput(const char* text) { OutputDebugStringA(text); }

void LogRequestRotation() {
  if (hLogFileEvent != nullptr) SetEvent(hLogFileEvent);
}
