// ProcessMonitorConfigFn: makes zent_agent.ini live. Any change of a file of
// the config folder (last write or name) reruns ReloadConfigSettings, once
// per signalled notification: a save that fires both reads the settings twice.
#include "upkeep/monitor_config_win.h"

#include <string>

#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "records/settings.h"

namespace {

// Null and INVALID_HANDLE_VALUE both mean no notification: a missing config
// folder gives the latter, and waiting on it would fail at once, for ever.
bool IsNotification(HANDLE handle) { return handle != nullptr && handle != INVALID_HANDLE_VALUE; }

void CloseNotification(HANDLE handle) {
  if (IsNotification(handle)) FindCloseChangeNotification(handle);
}

}  // namespace

DWORD WINAPI ProcessMonitorConfigFn(LPVOID) {
  ZENT_LOG(2, L"ProcessMonitorConfigFn: enters\n");
  std::wstring folder = s_Settings.workingDirectory + L"\\config";
  // The folder itself only: a subfolder and its files are not settings.
  HANDLE lastWrite = FindFirstChangeNotificationW(folder.c_str(), FALSE, FILE_NOTIFY_CHANGE_LAST_WRITE);
  HANDLE fileName = FindFirstChangeNotificationW(folder.c_str(), FALSE, FILE_NOTIFY_CHANGE_FILE_NAME);
  if (!IsNotification(lastWrite) || !IsNotification(fileName)) {
    DWORD error = GetLastError();
    ZENT_LOG(2, L"Failed to create notification for watching config dir. error=%d\n", error);
    CloseNotification(lastWrite);
    CloseNotification(fileName);
    return error;
  }

  HANDLE waits[] = {g_Engine.hStopEvent, lastWrite, fileName};
  for (;;) {
    DWORD which = WaitForMultipleObjects(3, waits, FALSE, INFINITE);
    if (which == WAIT_OBJECT_0) {
      ZENT_LOG(2, L"ProcessMonitorConfigFn: Stop Event Signaled!\n");
      break;
    }
    if (which == WAIT_OBJECT_0 + 1 || which == WAIT_OBJECT_0 + 2) {
      ReloadConfigSettings();
      if (!FindNextChangeNotification(waits[which - WAIT_OBJECT_0])) {
        DWORD error = GetLastError();
        // The service goes on without a watcher; the notifications stay open.
        ZENT_LOG(2, L"Failed to reset notification for watching config dir. error=%d\n", error);
        return error;
      }
    } else if (which == WAIT_FAILED) {
      // A wait that fails once fails every time: leaving beats a spinning core.
      DWORD error = GetLastError();
      ZENT_LOG(2, L"Failed to wait for notification for watching config dir. error=%d\n", error);
      FindCloseChangeNotification(lastWrite);
      FindCloseChangeNotification(fileName);
      return error;
    }
  }
  FindCloseChangeNotification(lastWrite);
  FindCloseChangeNotification(fileName);
  ZENT_LOG(2, L"ProcessMonitorConfigFn: exits\n");
  return 0;
}
