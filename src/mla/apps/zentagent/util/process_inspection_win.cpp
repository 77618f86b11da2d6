// Who started the agent: the parent's id and the path of a process's image,
// for the check on the caller of the deployment commands.
#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include "log/debug_log.h"
#include "util/process_win.h"

namespace utilProcess {

DWORD getParentProcessPid(DWORD pid, DWORD* parentPid) {
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (snapshot == INVALID_HANDLE_VALUE) {
    DWORD error = GetLastError();
    ZENT_LOG(1, L"CreateToolhelp32Snapshot() - Error is %x .\n", error);
    return error;
  }
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  DWORD result = 0;
  if (!Process32FirstW(snapshot, &entry)) {
    result = GetLastError();
    ZENT_LOG(1, L"Process32First() - Error is %x .\n", result);
  } else {
    while (entry.th32ProcessID != pid) {
      if (!Process32NextW(snapshot, &entry)) {
        result = GetLastError();
        ZENT_LOG(1, L"Process32Next() - Error is %x (ERROR_NO_MORE_FILES is %x).\n", result, ERROR_NO_MORE_FILES);
        break;
      }
    }
    if (result == 0) *parentPid = entry.th32ParentProcessID;
  }
  CloseHandle(snapshot);
  return result;
}

DWORD getProcessImagePath(DWORD pid, std::wstring& path) {
  HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, pid);
  if (process == nullptr) {
    DWORD error = GetLastError();
    ZENT_LOG(1, L"OpenProcess() - Error is %x.\n", error);
    return error;
  }
  wchar_t buffer[MAX_PATH] = {};
  DWORD result = GetModuleFileNameExW(process, nullptr, buffer, MAX_PATH) == 0 ? GetLastError() : 0;
  CloseHandle(process);
  path = buffer;
  return result;
}

}  // namespace utilProcess
