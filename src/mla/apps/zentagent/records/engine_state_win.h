// The engine's process-wide record: events, driver handle, pipes, worker
// threads and the service status. Fields are plain; the few writers that
// race (status, checkPoint, stopRequested) do so by design.
#pragma once

#include <windows.h>

#include <cstdint>

#include "platform/mli.h"

class CPipeServer;

constexpr int kPipeCount = 3;

struct ZentEngineState {
  HANDLE hStopEvent = nullptr;      // manual reset; the one stop request
  HANDLE s_hNotifyEvent = nullptr;  // auto reset; wakes the heartbeat thread
  HANDLE hLogFileEvent = nullptr;   // manual reset; asks for a log rotation
  MLI_HANDLE hDriver = nullptr;
  CPipeServer* pipes[kPipeCount] = {};
  volatile DWORD stopRequested = 0;
  HANDLE hCmdThread = nullptr;
  HANDLE hFwDpiThread = nullptr;
  HANDLE hNotifyThread = nullptr;
  HANDLE hLogFileThread = nullptr;
  HANDLE hMonitorConfigThread = nullptr;
  HANDLE hTelemetryThread = nullptr;
  SERVICE_STATUS status = {};
  SERVICE_STATUS_HANDLE hStatus = nullptr;
  DWORD checkPoint = 1;
  bool selfProtection = false;
  // True while heartbeats go out in their long form: until the first reply
  // whose command document was processed, for the life of the process.
  bool fullInfoHeartBeat = true;
};

extern ZentEngineState g_Engine;
