// A command line run to its end, its exit code the result (or the Windows
// error of a failed start), for tests that set up the host with the
// system's own tools (regsvr32, msiexec).
#pragma once

#include <windows.h>

#include <string>

inline DWORD RunToEnd(std::wstring commandLine) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                      &process)) {
    return GetLastError();
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD exitCode = 0;
  GetExitCodeProcess(process.hProcess, &exitCode);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return exitCode;
}
