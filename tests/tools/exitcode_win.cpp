// exitcode.exe RESULT_FILE PROGRAM [ARGUMENT...]
//
// Runs PROGRAM with its arguments, sharing this process's standard streams,
// and writes its whole 32-bit exit code, in decimal and unsigned, to
// RESULT_FILE. Under Wine a Windows process's exit code reaches Linux cut to
// 8 bits, and the codes the suite reads (201512003, -1, -115) need all 32.
// This process exits with the same code, for what that is worth.
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "windows_command_line.h"

int wmain(int argc, wchar_t** argv) {
  if (argc < 3) {
    std::fputs("usage: exitcode RESULT_FILE PROGRAM [ARGUMENT...]\n", stderr);
    return 255;
  }
  std::wstring commandLine = JoinWindowsCommandLine(std::vector<std::wstring>(argv + 2, argv + argc));
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
    std::fprintf(stderr, "exitcode: cannot start %ls: error %lu\n", argv[2], GetLastError());
    return 255;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD exitCode = 0;
  GetExitCodeProcess(process.hProcess, &exitCode);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  FILE* result = _wfopen(argv[1], L"w");
  if (!result) {
    std::fprintf(stderr, "exitcode: cannot write %ls\n", argv[1]);
    return 255;
  }
  std::fprintf(result, "%lu\n", exitCode);
  std::fclose(result);
  return static_cast<int>(exitCode);
}
