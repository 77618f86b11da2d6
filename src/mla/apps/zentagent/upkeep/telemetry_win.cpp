// ProcessTelemetryFn: the hourly state report comes with the status
// telemetry; the thread already keeps its hourly wait and its stop.
#include "upkeep/telemetry_win.h"

#include "log/debug_log.h"
#include "records/engine_state_win.h"

DWORD WINAPI ProcessTelemetryFn(LPVOID) {
  ZENT_LOG(2, L"ProcessTelemetryFn: enters\n");
  while (WaitForMultipleObjects(1, &g_Engine.hStopEvent, FALSE, 3600000) == WAIT_TIMEOUT) {
  }
  ZENT_LOG(2, L"ProcessTelemetryFn: Stop Event Signaled!\n");
  ZENT_LOG(2, L"ProcessTelemetryFn: exits\n");
  return 0;
}
