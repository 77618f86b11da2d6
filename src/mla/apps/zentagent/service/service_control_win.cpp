// The agent's dealings with the service control manager: registering and
// deleting its own service, stopping it, starting the driver's service before
// the engine, and the wait that the manager's protocol asks for.
#include <windows.h>

#include "driver/install_or_update_driver_win.h"
#include "driver/network_results.h"
#include "log/debug_log.h"
#include "service/zent_control_win.h"

namespace {

constexpr wchar_t kDriverService[] = L"mlfilter";
constexpr wchar_t kAgentService[] = L"ZentAgent";
constexpr wchar_t kAgentDisplayName[] = L"Halvane Zent Service (Agent)";
constexpr wchar_t kAgentDescription[] =
    L"Detects Intrusion Prevention rule violations and automates the application of virtual patches before "
    L"official patches become available.";
// What "-delete" needs of the agent's service: SERVICE_STOP,
// SERVICE_QUERY_STATUS and SERVICE_ENUMERATE_DEPENDENTS.
constexpr DWORD kStopAccess = SERVICE_STOP | SERVICE_QUERY_STATUS | SERVICE_ENUMERATE_DEPENDENTS;
constexpr DWORD kStopTimeoutMs = 60000;

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

// The manager, one service and its status; the handles are the caller's to
// close. 0 or the Windows error, logged under the caller's name.
int OpenServiceStatus(const char* caller, const wchar_t* name, DWORD access, SC_HANDLE* manager,
                      SC_HANDLE* service, SERVICE_STATUS_PROCESS* status) {
  int error = 0;
  if ((*manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)) == nullptr) {
    error = static_cast<int>(GetLastError());
    ZENT_LOG_AS(caller, 1, L"Failed to OpenSCManager: %d\n", error);
  } else if ((*service = OpenServiceW(*manager, name, access)) == nullptr) {
    error = static_cast<int>(GetLastError());
    ZENT_LOG_AS(caller, 1, L"OpenService(%s) failed (%d)\n", name, error);
  } else if (!QueryStatus(*service, status)) {
    error = static_cast<int>(GetLastError());
    ZENT_LOG_AS(caller, 1,
                L"Failed to QueryServiceStatusEx(SC_STATUS_PROCESS_INFO) during checking current status (%d)\n",
                error);
  }
  return error;
}

void CloseServiceHandles(SC_HANDLE service, SC_HANDLE manager) {
  if (service != nullptr) CloseServiceHandle(service);
  if (manager != nullptr) CloseServiceHandle(manager);
}

// After the stop control: until the service has stopped, at most 60,000 ms.
int WaitUntilStopped(SC_HANDLE service, const SERVICE_STATUS& stopStatus) {
  DWORD start = GetTickCount();
  SERVICE_STATUS_PROCESS status = {};
  status.dwCurrentState = stopStatus.dwCurrentState;
  status.dwWaitHint = stopStatus.dwWaitHint;
  while (status.dwCurrentState != SERVICE_STOPPED) {
    Sleep(PollInterval(status.dwWaitHint));
    if (!QueryStatus(service, &status)) {
      int error = static_cast<int>(GetLastError());
      ZENT_LOG_AS("StopService", 1,
                  L"Failed to QueryServiceStatusEx(SC_STATUS_PROCESS_INFO) during checking SERVICE_STOPPED "
                  L"[Error=%d]\n",
                  error);
      return error;
    }
    if (status.dwCurrentState == SERVICE_STOPPED) break;
    if (GetTickCount() - start > kStopTimeoutMs) {
      ZENT_LOG_AS("StopService", 1,
                  L"Service still not SERVICE_STOPPED, it's kinda too long. Something may go wrong.\n");
      return -1;
    }
  }
  return 0;
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
  SC_HANDLE manager = nullptr;
  SC_HANDLE service = nullptr;
  SERVICE_STATUS_PROCESS status = {};
  int result = OpenServiceStatus(__func__, kDriverService, SERVICE_ALL_ACCESS, &manager, &service, &status);
  if (result != 0) {
    // Logged where it failed.
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
  CloseServiceHandles(service, manager);
  ZENT_LOG(4, L"<<< StartService_(%s)", kDriverService);
  return result;
}

int CZentControl::ServiceInstall() {
  int result = InstallOrUpdateDriver();
  if (result == kDriverRebootRequired) {
    ZENT_LOG(1, L"InstallOrUpdateDriver success, but require reboot.\n");
  } else if (result != 0) {
    ZENT_LOG(1, L"InstallOrUpdateDriver fails, ret=%d\n", result);
    return result;
  }
  wchar_t modulePath[MAX_PATH] = {};
  if (GetModuleFileNameW(nullptr, modulePath, MAX_PATH) == 0) {
    int error = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"Failed to get current bin path: %d\n", error);
    return error;
  }
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager == nullptr) {
    int error = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"Failed to OpenSCManager: %d\n", error);
    return error;
  }
  // An upgrade keeps the old registration, and its path.
  if (SC_HANDLE existing = OpenServiceW(manager, kAgentService, SERVICE_ALL_ACCESS)) {
    ZENT_LOG(3, L"Service(%s) already exists. Skip CreateServiceW().\n", kAgentService);
    CloseServiceHandles(existing, manager);
    return result;
  }
  // The module's path in double quotes, then " -service", in a buffer of
  // MAX_PATH characters.
  wchar_t command[MAX_PATH] = {};
  swprintf(command, MAX_PATH, L"\"%ls\" -service", modulePath);
  SC_HANDLE service = CreateServiceW(manager, kAgentService, kAgentDisplayName, SERVICE_ALL_ACCESS,
                                     SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, command,
                                     nullptr, nullptr, nullptr, nullptr, nullptr);
  if (service == nullptr) {
    result = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"Failed to CreateService(%s) (%d)\n", kAgentService, result);
  } else {
    ZENT_LOG(2, L"Service(%s) installed successfully\n", kAgentService);
    SERVICE_DESCRIPTIONW description = {const_cast<wchar_t*>(kAgentDescription)};
    if (!ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &description)) {
      // The service stays registered without its description.
      result = static_cast<int>(GetLastError());
      ZENT_LOG(1, L"Failed to ChangeServiceConfig2(SERVICE_CONFIG_DESCRIPTION) (%d)\n", result);
    }
  }
  CloseServiceHandles(service, manager);
  // The suite starts the service.
  return result;
}

int CZentControl::ServiceDelete(int code) {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  SC_HANDLE service = nullptr;
  if (manager == nullptr) {
    code = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"Failed to OpenSCManager: %d\n", code);
  } else if ((service = OpenServiceW(manager, kAgentService, SERVICE_ALL_ACCESS)) == nullptr) {
    code = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"OpenService(%s) failed (%d)\n", kAgentService, code);
  } else if (!DeleteService(service)) {
    code = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"DeleteService(%s) failed (%d)\n", kAgentService, code);
  } else {
    ZENT_LOG(2, L"Service(%s) deleted successfully\n", kAgentService);
  }
  CloseServiceHandles(service, manager);
  return code;
}

int CZentControl::StopService() {
  SC_HANDLE manager = nullptr;
  SC_HANDLE service = nullptr;
  SERVICE_STATUS_PROCESS status = {};
  SERVICE_STATUS stopStatus = {};
  int result = OpenServiceStatus(__func__, kAgentService, kStopAccess, &manager, &service, &status);
  if (result != 0) {
    // 1060 when there is no such service: "-delete" goes on.
  } else if (status.dwCurrentState == SERVICE_STOPPED || status.dwCurrentState == SERVICE_STOP_PENDING) {
    ZENT_LOG(2, L"Service is already stopped or stop pending. Will wait for pending.\n");
    result = WaitUntilServiceStatus(service, SERVICE_STOP_PENDING, &status);
  } else if (!ControlService(service, SERVICE_CONTROL_STOP, &stopStatus)) {
    // With self-protection on, the manager refuses the stop.
    result = static_cast<int>(GetLastError());
    ZENT_LOG(1, L"Failed to ControlService(SERVICE_CONTROL_STOP)(Error=%d)\n", result);
  } else {
    result = WaitUntilStopped(service, stopStatus);
  }
  CloseServiceHandles(service, manager);
  return result;
}
