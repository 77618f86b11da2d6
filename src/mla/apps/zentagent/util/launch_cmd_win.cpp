#include <cstdint>

#include "log/debug_log.h"
#include "util/process_win.h"

namespace {

// The whole safety margin of a launch: the parent reads only after the child
// has ended, so everything the child prints must fit in the pipe meanwhile.
constexpr DWORD kPipeBufferSize = 0x100000;
constexpr DWORD kReadChunkSize = 1024;

int HandleNumber(HANDLE handle) { return static_cast<int>(reinterpret_cast<intptr_t>(handle)); }

// Reads the pipe to its end. The end is the broken pipe that comes once
// every write handle, the child's included, is closed.
bool ReadAndHandleOutput(HANDLE outputRead, std::string& output) {
  char buffer[kReadChunkSize];
  DWORD count = 0;
  while (ReadFile(outputRead, buffer, kReadChunkSize, &count, nullptr) && count != 0) {
    output.append(buffer, count);
  }
  DWORD error = GetLastError();
  if (error == ERROR_BROKEN_PIPE) return true;
  ZENT_LOG(1, L"ReadFile failed, err=%d\n", error);
  return false;
}

// Closes a handle of the launch if it is still open and marks it closed;
// false when the close failed, with the error left for GetLastError.
bool CloseIfOpen(HANDLE& handle) {
  if (handle == INVALID_HANDLE_VALUE) return true;
  BOOL closed = CloseHandle(handle);
  handle = INVALID_HANDLE_VALUE;
  return closed != FALSE;
}

}  // namespace

namespace utilProcess {

bool LaunchCmd(const wchar_t* program, const wchar_t* arguments, DWORD* exitCode, std::string& output) {
  HANDLE outputWrite = INVALID_HANDLE_VALUE;
  HANDLE errorWrite = INVALID_HANDLE_VALUE;
  HANDLE tempOutputRead = INVALID_HANDLE_VALUE;
  HANDLE outputRead = INVALID_HANDLE_VALUE;
  bool result = false;

  SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
  if (!CreatePipe(&tempOutputRead, &outputWrite, &inheritable, kPipeBufferSize)) {
    ZENT_LOG(1, L"CreatePipe failed, err=%d\n", GetLastError());
    return false;
  }
  HANDLE self = GetCurrentProcess();
  if (!DuplicateHandle(self, outputWrite, self, &errorWrite, 0, TRUE, DUPLICATE_SAME_ACCESS)) {
    ZENT_LOG(1, L"DuplicateHandle for output error write failed, err=%d\n", GetLastError());
    errorWrite = INVALID_HANDLE_VALUE;
  } else if (!DuplicateHandle(self, tempOutputRead, self, &outputRead, 0, FALSE, DUPLICATE_SAME_ACCESS)) {
    ZENT_LOG(1, L"DuplicateHandle for output read failed, err=%d\n", GetLastError());
    outputRead = INVALID_HANDLE_VALUE;
  } else {
    // The child must not hold the read end, or the pipe would never report
    // its end.
    if (!CloseIfOpen(tempOutputRead)) ZENT_LOG(1, L"CloseHandle for temp output read failed, err=%d\n", GetLastError());
    if (PrepAndLaunchRedirectedChild(program, arguments, exitCode, outputWrite, errorWrite)) {
      // Only once the parent's write ends are gone can the pipe end.
      if (!CloseIfOpen(outputWrite)) ZENT_LOG(1, L"CloseHandle for output write failed, err=%d\n", GetLastError());
      if (!CloseIfOpen(errorWrite)) ZENT_LOG(1, L"CloseHandle for output error write failed, err=%d\n", GetLastError());
      ZENT_LOG(1, L"ReadAndHandleOutput First \n");
      result = ReadAndHandleOutput(outputRead, output);
    }
  }
  if (!CloseIfOpen(outputWrite)) ZENT_LOG(1, L"CloseHandle for output write failed, err=%d\n", GetLastError());
  if (!CloseIfOpen(errorWrite)) ZENT_LOG(1, L"CloseHandle for output error write failed, err=%d\n", GetLastError());
  if (!CloseIfOpen(tempOutputRead)) ZENT_LOG(1, L"CloseHandle for temp output read failed, err=%d\n", GetLastError());
  if (!CloseIfOpen(outputRead)) ZENT_LOG(1, L"CloseHandle for output read failed, err=%d\n", GetLastError());
  return result;
}

bool PrepAndLaunchRedirectedChild(const wchar_t* program, const wchar_t* arguments, DWORD* exitCode,
                                  HANDLE hStdOut, HANDLE hStdErr) {
  if (program == nullptr) {
    ZENT_LOG(1, L"szProgram is null\n");
    return false;
  }
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = hStdOut;
  startup.hStdError = hStdErr;

  std::wstring commandLine = L"\"";
  commandLine += program;
  commandLine += L"\"";
  if (arguments != nullptr) {
    commandLine += L" ";
    commandLine += arguments;
  }
  ZENT_LOG(4, L"PrepAndLaunchRedirectedChild: %s, stdout(%d),stderr(%d)\n", commandLine.c_str(),
           HandleNumber(hStdOut), HandleNumber(hStdErr));

  PROCESS_INFORMATION process = {};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_NEW_CONSOLE, nullptr, nullptr,
                      &startup, &process)) {
    DWORD error = GetLastError();
    if (exitCode != nullptr) *exitCode = error;
    ZENT_LOG(1, L"CreateProcessW failed, err=%d\n", error);
    return false;
  }
  CloseHandle(process.hThread);
  bool result = true;
  // No limit: a tool that hangs holds the calling thread.
  DWORD wait = WaitForSingleObject(process.hProcess, INFINITE);
  ZENT_LOG(4, L"WaitForSingleObject result=0x%x\n", wait);
  if (wait == WAIT_FAILED) {
    ZENT_LOG(1, L"CreateProcessW wait failed, error=%d\n", GetLastError());
    result = false;
  }
  if (exitCode != nullptr && !GetExitCodeProcess(process.hProcess, exitCode)) {
    *exitCode = GetLastError();
    ZENT_LOG(1, L"GetExitCodeProcess failed, err=%d\n", *exitCode);
    result = false;
  }
  CloseHandle(process.hProcess);
  return result;
}

}  // namespace utilProcess
