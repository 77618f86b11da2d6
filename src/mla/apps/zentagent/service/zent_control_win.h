// CZentControl: the service side of the process. The service entry, its
// control handler, the status reports and the engine's three stages.
#pragma once

#include <windows.h>

class CZentControl {
 public:
  static void WINAPI ServiceMain_(DWORD argc, LPWSTR* argv);
  static DWORD WINAPI ServiceCtrl_(DWORD control, DWORD eventType, LPVOID eventData, LPVOID context);
  static void SetServiceStatus_(DWORD currentState, DWORD win32ExitCode, DWORD waitHint);
  static int ZentEngineInit();
  static int ZentEngineMain();
  static int ZentEngineDeinit();
  // "-install": the driver as the versions say, then the agent's service
  // registered unless it exists. 0, -110 (registered, the driver wants a
  // reboot), a code of the driver's installation, or a Win32 error.
  static int ServiceInstall();
  // "-delete", after the driver's removal: deletes the agent's service. Each
  // failure replaces `code` with its Windows error; otherwise `code` stays.
  static int ServiceDelete(int code);
  // Stops the agent's own service: 0, -1 when it does not stop within
  // 60,000 ms, or a Win32 error (1060 when there is no such service).
  static int StopService();
  // Starts the driver's service, mlfilter: 0, a Win32 error, or the failed
  // service's exit code.
  static int StartService_();
  // 0 once the service has left `state`, -1 when it stays too long, or a
  // Win32 error.
  static int WaitUntilServiceStatus(SC_HANDLE service, DWORD state, SERVICE_STATUS_PROCESS* status);
};
