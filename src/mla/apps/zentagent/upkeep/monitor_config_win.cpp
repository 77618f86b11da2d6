// ProcessMonitorConfigFn: reloading the settings on a change of the config
// folder comes with the configuration watcher; until then the thread waits
// for the stop event.
#include "upkeep/monitor_config_win.h"

#include "log/debug_log.h"
#include "records/engine_state_win.h"

DWORD WINAPI ProcessMonitorConfigFn(LPVOID) {
  ZENT_LOG(2, L"ProcessMonitorConfigFn: enters\n");
  WaitForSingleObject(g_Engine.hStopEvent, INFINITE);
  ZENT_LOG(2, L"ProcessMonitorConfigFn: Stop Event Signaled!\n");
  ZENT_LOG(2, L"ProcessMonitorConfigFn: exits\n");
  return 0;
}
