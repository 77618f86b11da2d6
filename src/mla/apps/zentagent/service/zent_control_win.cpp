#include "service/zent_control_win.h"

#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "service/self_protection_backup_win.h"
#include "util/brvn_win.h"

namespace {

// Self-protection keeps the stop control away; shutdown still ends the
// service through the same stop path.
DWORD AcceptedControls() {
  return g_Engine.selfProtection ? SERVICE_ACCEPT_SHUTDOWN : SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN;
}

void CloseEvents() {
  CloseHandle(g_Engine.hStopEvent);
  CloseHandle(g_Engine.s_hNotifyEvent);
}

}  // namespace

void CZentControl::SetServiceStatus_(DWORD currentState, DWORD win32ExitCode, DWORD waitHint) {
  SERVICE_STATUS& status = g_Engine.status;
  status.dwCurrentState = currentState;
  status.dwWin32ExitCode = win32ExitCode;
  status.dwWaitHint = waitHint;
  if (currentState == SERVICE_START_PENDING) {
    status.dwControlsAccepted = 0;
  } else {
    status.dwControlsAccepted = AcceptedControls();
  }
  if (currentState == SERVICE_RUNNING || currentState == SERVICE_STOPPED) {
    status.dwCheckPoint = 0;
  } else {
    status.dwCheckPoint = g_Engine.checkPoint++;
  }
  if (!SetServiceStatus(g_Engine.hStatus, &status)) {
    ZENT_LOG(1, L"SetServiceStatus() failed: err=%d\n", GetLastError());
  }
}

void WINAPI CZentControl::ServiceMain_(DWORD, LPWSTR* argv) {
  if (UtilBRVN::QuerySelfProtectionStatus() == 0) {
    BackUpSelfProtection(g_Engine.selfProtection);
  } else {
    // The suite could not be asked: its last word, kept in the ini, decides.
    g_Engine.selfProtection = ReadSelfProtectionBackup();
  }
  g_Engine.status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  g_Engine.status.dwServiceSpecificExitCode = 0;

  DWORD exitCode = 0;
  g_Engine.hStatus = RegisterServiceCtrlHandlerExW(argv[0], ServiceCtrl_, nullptr);
  if (g_Engine.hStatus == nullptr) {
    exitCode = GetLastError();
    ZENT_LOG(1, L"RegisterServiceCtrlHandlerEx failed: err=%d\n", exitCode);
    SetServiceStatus_(SERVICE_STOPPED, exitCode, 30000);
    return;
  }
  SetServiceStatus_(SERVICE_START_PENDING, 0, 30000);

  g_Engine.hStopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (g_Engine.hStopEvent == nullptr) {
    exitCode = GetLastError();
    ZENT_LOG(1, L"CreateEvent for hStopEvent failed\n");
    SetServiceStatus_(SERVICE_STOPPED, exitCode, 30000);
    return;
  }
  g_Engine.s_hNotifyEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  if (g_Engine.s_hNotifyEvent == nullptr) {
    exitCode = GetLastError();
    ZENT_LOG(1, L"CreateEvent for s_hNotifyEvent failed\n");
    SetServiceStatus_(SERVICE_STOPPED, exitCode, 30000);
    return;
  }

  int rc = StartService_();
  if (rc != 0) {
    ZENT_LOG(1, L"StartDriverService: returned status of %d - shutting down\n", rc);
    // The suite reads this fixed code, whatever the driver's service said.
    SetServiceStatus_(SERVICE_STOPPED, 201512003, 30000);
    CloseEvents();
    return;
  }
  rc = ZentEngineInit();
  if (rc != 0) {
    ZENT_LOG(1, L"ZentEngineInit: returned status of %d - shutting down\n", rc);
    SetServiceStatus_(SERVICE_STOPPED, static_cast<DWORD>(rc), 30000);
    CloseEvents();
    return;
  }
  // Running is reported while the workers are still suspended.
  SetServiceStatus_(SERVICE_RUNNING, 0, 30000);
  rc = ZentEngineMain();
  if (rc != 0) {
    ZENT_LOG(1, L"ZentEngineMain: returned status of %d - shutting down\n", rc);
    SetServiceStatus_(SERVICE_STOPPED, static_cast<DWORD>(rc), 30000);
    ZentEngineDeinit();
    CloseEvents();
    return;
  }

  while (g_Engine.stopRequested == 0) Sleep(100);

  SetServiceStatus_(SERVICE_STOP_PENDING, 0, 30000);
  ZentEngineDeinit();
  CloseHandle(g_Engine.hStopEvent);
  // The notify event stays open on this path: the process is about to end.
  g_Engine.hStopEvent = INVALID_HANDLE_VALUE;
  g_Engine.s_hNotifyEvent = INVALID_HANDLE_VALUE;
  SetServiceStatus_(SERVICE_STOPPED, 0, 30000);
}

DWORD WINAPI CZentControl::ServiceCtrl_(DWORD control, DWORD eventType, LPVOID, LPVOID) {
  ZENT_LOG(4, L"ServiceCtrl_: control(%d), eventType(%d)\n", control, eventType);
  if (control == SERVICE_CONTROL_STOP || control == SERVICE_CONTROL_SHUTDOWN) {
    SetServiceStatus_(SERVICE_STOP_PENDING, 0, 30000);
    SetEvent(g_Engine.hStopEvent);
    g_Engine.stopRequested = 1;
    SetServiceStatus_(g_Engine.status.dwCurrentState, 0, 30000);
  } else {
    // Every other control, interrogate included, hears "running", whatever
    // the real state is.
    SetServiceStatus_(SERVICE_RUNNING, 0, 0);
  }
  return 0;
}
