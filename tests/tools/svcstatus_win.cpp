// svcstatus.exe NAME
//
// Prints the service's QueryServiceStatusEx fields as one line of JSON and
// exits 0; or {"name":...,"error":N} and exits 1 when it cannot be queried
// (1060: no such service). Wine's sc shows neither the accepted controls nor
// the process id, and says nothing of why it failed.
#include <windows.h>

#include <cstdio>
#include <string>

#include "service_status_json.h"

namespace {

std::string ToUtf8(const wchar_t* text) {
  int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(size > 0 ? size - 1 : 0, '\0');
  if (size > 1) WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
  return out;
}

int PrintError(const std::string& name, DWORD error) {
  std::printf("%s\n", ServiceErrorJson(name, error).c_str());
  return 1;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fputs("usage: svcstatus NAME\n", stderr);
    return 2;
  }
  std::string name = ToUtf8(argv[1]);
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
  if (!manager) return PrintError(name, GetLastError());
  SC_HANDLE service = OpenServiceW(manager, argv[1], SERVICE_QUERY_STATUS);
  if (!service) {
    DWORD error = GetLastError();
    CloseServiceHandle(manager);
    return PrintError(name, error);
  }
  SERVICE_STATUS_PROCESS status = {};
  DWORD needed = 0;
  BOOL queried =
      QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status, &needed);
  DWORD error = GetLastError();
  CloseServiceHandle(service);
  CloseServiceHandle(manager);
  if (!queried) return PrintError(name, error);
  ServiceStatusRecord record = {status.dwServiceType,
                                status.dwCurrentState,
                                status.dwControlsAccepted,
                                status.dwWin32ExitCode,
                                status.dwServiceSpecificExitCode,
                                status.dwCheckPoint,
                                status.dwWaitHint,
                                status.dwProcessId,
                                status.dwServiceFlags};
  std::printf("%s\n", ServiceStatusJson(name, record).c_str());
  return 0;
}
