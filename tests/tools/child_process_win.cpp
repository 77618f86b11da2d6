#include "child_process_win.h"

#include <thread>

namespace {

std::thread Drain(HANDLE from, std::string& into) {
  return std::thread([from, &into] {
    char buffer[4096];
    DWORD count = 0;
    while (ReadFile(from, buffer, sizeof buffer, &count, nullptr) && count > 0)
      for (DWORD i = 0; i < count; ++i)
        if (buffer[i] != '\r') into += buffer[i];
    CloseHandle(from);
  });
}

// An anonymous pipe whose child end alone is inherited.
void InheritablePipe(HANDLE& read, HANDLE& write, bool childReads) {
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  CreatePipe(&read, &write, &inherit, 65536);
  SetHandleInformation(childReads ? write : read, HANDLE_FLAG_INHERIT, 0);
}

}  // namespace

ChildRun RunChild(const std::wstring& program, const std::wstring& arguments, const std::string& input,
                  DWORD timeoutMs) {
  ChildRun run;
  HANDLE inRead, inWrite, outRead, outWrite, errRead, errWrite;
  InheritablePipe(inRead, inWrite, true);
  InheritablePipe(outRead, outWrite, false);
  InheritablePipe(errRead, errWrite, false);

  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = inRead;
  startup.hStdOutput = outWrite;
  startup.hStdError = errWrite;
  PROCESS_INFORMATION process = {};
  std::wstring commandLine = L"\"" + program + L"\" " + arguments;
  BOOL started =
      CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process);
  DWORD startError = GetLastError();
  CloseHandle(inRead);
  CloseHandle(outWrite);
  CloseHandle(errWrite);
  std::thread out = Drain(outRead, run.out);
  std::thread err = Drain(errRead, run.err);
  if (started) {
    DWORD written = 0;
    if (!input.empty()) WriteFile(inWrite, input.data(), static_cast<DWORD>(input.size()), &written, nullptr);
    CloseHandle(inWrite);
    if (WaitForSingleObject(process.hProcess, timeoutMs) != WAIT_OBJECT_0) TerminateProcess(process.hProcess, 0xDEAD);
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &run.exitCode);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
  } else {
    CloseHandle(inWrite);
    run.exitCode = startError;
    run.err = "CreateProcess failed";
  }
  out.join();
  err.join();
  return run;
}
