// The driver's service, started by the agent's own service before its
// engine, and the wait that the service control manager's protocol asks for.
#include <windows.h>

#include "service/debug_log.h"
#include "service/zent_control_win.h"

namespace {

constexpr wchar_t kDriverService[] = L"mlfilter";

bool QueryStatus(SC_HANDLE service, SERVICE_STATUS_PROCESS* status) {
  DWORD needed = 0;
  return QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(status), sizeof(*status),
                              &needed) != 0;
}

// A tenth of the wait hint, within 1 to 10 seconds.
DWORD PollInterval(DWORD waitHint) {
  DWORD interval = waitHint / 10;
  if (interval < 1000) return 1000;
  if (interval > 10000) return 10000;
  return interval;
}

}  // namespace

int CZentControl::WaitUntilServiceStatus(SC_HANDLE service, DWORD state, SERVICE_STATUS_PROCESS* status) {
  DWORD start = GetTickCount();
  if (status->dwCurrentState != state) return 0;
  DWORD checkPoint = status->dwCheckPoint;
  for (;;) {
    if (!QueryStatus(service, status)) {
      DWORD error = GetLastError();
      ZENT_LOG(1,
               L"Failed to QueryServiceStatusEx(SC_STATUS_PROCESS_INFO) during checking State %d "
               L"(START_PENDING=2, STOP_PENDING=3) [Error=%d]\n",
               state, error);
      return static_cast<int>(error);
    }
    if (status->dwCurrentState != state) return 0;
    // A service that keeps raising its check point is waited for without
    // limit, as the control manager's protocol has it.
    if (status->dwCheckPoint > checkPoint) {
      start = GetTickCount();
      checkPoint = status->dwCheckPoint;
    } else if (GetTickCount() - start > status->dwWaitHint) {
      break;
    }
    Sleep(PollInterval(status->dwWaitHint));
    if (status->dwCurrentState != state) return 0;
  }
  ZENT_LOG(1,
           L"Service still in %d (START_PENDING=2, STOP_PENDING=3), it's kinda too long. Something may go "
           L"wrong.\n",
           state);
  return -1;
}

int CZentControl::StartService_() {
  ZENT_LOG(4, L">>> StartService_(%s)", kDriverService);
  int result = 0;
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  SC_HANDLE service = nullptr;
  SERVICE_STATUS_PROCESS status = {};
  if (manager == nullptr) {
    result = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"Failed to OpenSCManager: %d\n", result);
  } else if ((service = OpenServiceW(manager, kDriverService, SERVICE_ALL_ACCESS)) == nullptr) {
    result = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"OpenService(%s) failed (%d)\n", kDriverService, result);
  } else if (!QueryStatus(service, &status)) {
    result = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"Failed to QueryServiceStatusEx(SC_STATUS_PROCESS_INFO) during checking current status (%d)\n",
             result);
  } else if (status.dwCurrentState != SERVICE_STOPPED && status.dwCurrentState != SERVICE_STOP_PENDING) {
    ZENT_LOG(2, L"Cannot start the service(%s) because it is already running\n", kDriverService);
  } else {
    if (WaitUntilServiceStatus(service, SERVICE_STOP_PENDING, &status) != 0) {
      ZENT_LOG(2, L"Cannot wait until service is not stop pending. Still continue to try start service(%s).\n",
               kDriverService);
    }
    if (!StartServiceW(service, 0, nullptr)) {
      result = static_cast<int>(GetLastError());
      ZENT_LOG(1, L"Failed to StartService()(%s)(%d)\n", kDriverService, result);
    } else {
      ZENT_LOG(3, L"Service(%s) is starting ...\n", kDriverService);
      if (WaitUntilServiceStatus(service, SERVICE_STOPPED, &status) != 0) {
        ZENT_LOG(2, L"Cannot wait until service(%s) is not stopped. Still continue to check other status.\n",
                 kDriverService);
      }
      if (WaitUntilServiceStatus(service, SERVICE_START_PENDING, &status) != 0) {
        ZENT_LOG(2, L"Cannot wait until service(%s) is not start pending. Still continue to check other status.\n",
                 kDriverService);
      }
      if (status.dwCurrentState == SERVICE_RUNNING) {
        ZENT_LOG(3, L"Service(%s) started successfully.\n", kDriverService);
      } else {
        ZENT_LOG(1,
                 L"Service(%s) not started. Current State: [%d], Exit Code: [%d], Check Point: [%d], Wait Hint: "
                 L"[%d]\n",
                 kDriverService, status.dwCurrentState, status.dwWin32ExitCode, status.dwCheckPoint,
                 status.dwWaitHint);
        // Can be 0 for a service that is merely slow.
        result = static_cast<int>(status.dwWin32ExitCode);
      }
    }
  }
  if (service != nullptr) CloseServiceHandle(service);
  if (manager != nullptr) CloseServiceHandle(manager);
  ZENT_LOG(4, L"<<< StartService_(%s)", kDriverService);
  return result;
}
