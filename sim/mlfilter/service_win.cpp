// mlfilter.exe: the filter driver's service as the agent sees it through the
// service control manager. The agent starts it, finds it running or missing,
// and waits on its start; this program keeps that side of the contract.
//
// Its knobs are under the stand-in name of the service it runs as (argv[0]
// of its service entry), so that tests may register it under names of their
// own: registered as "mlfilter", it reads HKLM\SOFTWARE\ZentSim\mlfilter.
#include "sim_registry.h"

#include <windows.h>

#include <algorithm>
#include <string>

namespace {

// How far apart the check points of a slow start are, and the wait hint that
// goes with them: a waiter sees progress long before the hint runs out.
constexpr DWORD kStartStepMs = 250;
constexpr DWORD kStartWaitHintMs = 2000;

std::wstring serviceName;
SERVICE_STATUS_HANDLE statusHandle = nullptr;
SERVICE_STATUS status{};
HANDLE stopEvent = nullptr;

void Report(DWORD state, DWORD exitCode, DWORD checkPoint, DWORD waitHint, bool running = false) {
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted =
      state == SERVICE_RUNNING || running ? SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN : 0;
  status.dwWin32ExitCode = exitCode;
  status.dwServiceSpecificExitCode = 0;
  status.dwCheckPoint = checkPoint;
  status.dwWaitHint = waitHint;
  SetServiceStatus(statusHandle, &status);
}

DWORD WINAPI Control(DWORD control, DWORD, void*, void*) {
  switch (control) {
    case SERVICE_CONTROL_STOP:
    case SERVICE_CONTROL_SHUTDOWN:
      Report(SERVICE_STOP_PENDING, NO_ERROR, 1, kStartWaitHintMs);
      SetEvent(stopEvent);
      return NO_ERROR;
    case SERVICE_CONTROL_INTERROGATE:
      SetServiceStatus(statusHandle, &status);
      return NO_ERROR;
    default:
      return ERROR_CALL_NOT_IMPLEMENTED;
  }
}

// A slow driver: start pending for delayMs, with a check point that grows.
void StartSlowly(DWORD delayMs) {
  DWORD checkPoint = 1;
  for (DWORD waited = 0; waited < delayMs; waited += kStartStepMs) {
    Report(SERVICE_START_PENDING, NO_ERROR, ++checkPoint, kStartWaitHintMs);
    Sleep(std::min(kStartStepMs, delayMs - waited));
  }
}

// A service that hangs in its stop: stop pending for delayMs with a check
// point that never moves, so that a waiter gives up after the wait hint.
void StopSlowly(DWORD delayMs) {
  if (delayMs == 0) return;
  Report(SERVICE_STOP_PENDING, NO_ERROR, 1, kStartWaitHintMs);
  Sleep(delayMs);
}

void WINAPI ServiceMain(DWORD argc, wchar_t** argv) {
  serviceName = argc > 0 && argv[0] ? argv[0] : L"mlfilter";
  stopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  statusHandle = RegisterServiceCtrlHandlerExW(serviceName.c_str(), Control, nullptr);
  if (!statusHandle) return;
  zentsim::Count(serviceName, L"Started");
  Report(SERVICE_START_PENDING, NO_ERROR, 1, kStartWaitHintMs);

  // A driver that fails to load: the service stops again with its code,
  // which the agent reads as the start's result.
  if (DWORD failure = zentsim::ReadDword(serviceName, L"StartFails", 0)) {
    Report(SERVICE_STOPPED, failure, 0, 0);
    return;
  }
  StartSlowly(zentsim::ReadDword(serviceName, L"StartDelayMs", 0));

  Report(SERVICE_RUNNING, NO_ERROR, 0, 0);
  // A service in any state, for the agent's service queries: once running
  // it reports this state instead, and still takes the stop control.
  if (DWORD reported = zentsim::ReadDword(serviceName, L"ReportState", 0)) {
    Report(reported, NO_ERROR, 0, 0, true);
  }
  WaitForSingleObject(stopEvent, INFINITE);
  StopSlowly(zentsim::ReadDword(serviceName, L"StopDelayMs", 0));
  zentsim::Count(serviceName, L"Stopped");
  Report(SERVICE_STOPPED, NO_ERROR, 0, 0);
}

}  // namespace

int wmain() {
  // An own-process service: the control manager runs the one entry whatever
  // name it was registered under.
  wchar_t name[] = L"mlfilter";
  SERVICE_TABLE_ENTRYW table[] = {{name, ServiceMain}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(table) ? 0 : static_cast<int>(GetLastError());
}
