// patchagent.exe AGENT [ARGUMENT]
//
// The suite's patch agent as the deployment commands see it: it starts the
// agent with one argument, which the agent receives as the whole tail of its
// command line (blanks inside and after it included), waits for it, prints
// its whole 32-bit exit code and exits with the same code. The agent checks
// the signature of this program before "-delete", so it is built three
// times: signed as the suite's publisher, as another publisher, unsigned.
#include <windows.h>

#include <cstdio>
#include <string>

int wmain(int argc, wchar_t** argv) {
  if (argc < 2 || argc > 3) {
    std::fputs("usage: patchagent AGENT [ARGUMENT]\n", stderr);
    return 255;
  }
  std::wstring commandLine = L"\"" + std::wstring(argv[1]) + L"\"";
  if (argc == 3) commandLine += L" " + std::wstring(argv[2]);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(argv[1], commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                      &process)) {
    std::fprintf(stderr, "patchagent: cannot start %ls: error %lu\n", argv[1], GetLastError());
    return 255;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD exitCode = 0;
  GetExitCodeProcess(process.hProcess, &exitCode);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  std::printf("exit code: %ld\n", static_cast<long>(exitCode));
  return static_cast<int>(exitCode);
}
