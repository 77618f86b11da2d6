// FwDpiServiceFn: the driver's event records come with the event log
// pipeline; until then the thread waits for the stop event.
#include "service/debug_log.h"
#include "service/engine_state_win.h"
#include "service/workers_win.h"

DWORD WINAPI FwDpiServiceFn(LPVOID) {
  ZENT_LOG(2, L"FwDpiServiceFn: enters\n");
  WaitForSingleObject(g_Engine.hStopEvent, INFINITE);
  ZENT_LOG(2, L"FwDpiServiceFn: Stop Event Signaled!\n");
  ZENT_LOG(2, L"FwDpiServiceFn: exits\n");
  return 0;
}
