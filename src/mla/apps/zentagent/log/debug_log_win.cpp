#include <windows.h>

#include "log/debug_log.h"
#include "records/engine_state_win.h"

uint32_t LogCurrentThreadId() { return GetCurrentThreadId(); }

LogTime LogLocalTime() {
  SYSTEMTIME st;
  GetLocalTime(&st);
  return {st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds};
}

void LogDebuggerOutput(const char* text) { OutputDebugStringA(text); }

void LogRequestRotation() {
  if (g_Engine.hLogFileEvent != nullptr) SetEvent(g_Engine.hLogFileEvent);
}
