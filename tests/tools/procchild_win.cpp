// procchild.exe launch HEX
// procchild.exe brief
//
// A process of known command line for the running processes tests.
//
// "launch" starts procchild.exe again with the command line whose UTF-8
// bytes HEX spells, exactly as they stand (the system's own quoting of
// arguments never touches them), with this process's standard handles.
// It prints "parent N" (its own id) before, and waits for the child to end.
// The child prints "pid N" and "ready", then reads its standard input a line
// at a time: "blank" rewrites its own command line in its process
// parameters to a Length of 0xFFFF and a null Buffer, then prints "blanked";
// the end of input ends it.
//
// "brief" ends at once: a process that is gone by the time a query opens it.
#include <windows.h>
#include <winternl.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

// Set in the child's environment, so that the child knows its role whatever
// its command line says.
constexpr wchar_t kRoleVariable[] = L"PROCCHILD_ROLE";

std::string FromHex(const char* hex) {
  std::string bytes;
  for (size_t i = 0; hex[i] && hex[i + 1]; i += 2) {
    char pair[3] = {hex[i], hex[i + 1], 0};
    bytes += static_cast<char>(std::strtoul(pair, nullptr, 16));
  }
  return bytes;
}

std::wstring Wide(const std::string& utf8) {
  int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
  std::wstring out(units, L'\0');
  MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), out.data(), units);
  return out;
}

int Launch(const char* hex) {
  std::wstring commandLine = Wide(FromHex(hex));
  wchar_t self[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  SetEnvironmentVariableW(kRoleVariable, L"held");
  std::printf("parent %lu\n", GetCurrentProcessId());
  std::fflush(stdout);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION info = {};
  if (!CreateProcessW(self, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &info)) {
    std::printf("error %lu\n", GetLastError());
    return 1;
  }
  CloseHandle(info.hThread);
  WaitForSingleObject(info.hProcess, INFINITE);
  CloseHandle(info.hProcess);
  return 0;
}

void BlankOwnCommandLine() {
  using QueryInformation = LONG(WINAPI*)(HANDLE, PROCESSINFOCLASS, void*, ULONG, ULONG*);
  auto query = reinterpret_cast<QueryInformation>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryInformationProcess")));
  PROCESS_BASIC_INFORMATION basic = {};
  ULONG length = 0;
  query(GetCurrentProcess(), ProcessBasicInformation, &basic, sizeof basic, &length);
  UNICODE_STRING& commandLine = basic.PebBaseAddress->ProcessParameters->CommandLine;
  commandLine.Length = 0xFFFF;
  commandLine.Buffer = nullptr;
}

int Held() {
  std::printf("pid %lu\nready\n", GetCurrentProcessId());
  std::fflush(stdout);
  char line[64];
  while (std::fgets(line, sizeof line, stdin)) {
    if (std::strncmp(line, "blank", 5) == 0) {
      BlankOwnCommandLine();
      std::printf("blanked\n");
      std::fflush(stdout);
    }
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  wchar_t role[16] = {};
  if (GetEnvironmentVariableW(kRoleVariable, role, 16) > 0 && std::wcscmp(role, L"held") == 0) return Held();
  if (argc == 3 && std::strcmp(argv[1], "launch") == 0) return Launch(argv[2]);
  if (argc == 2 && std::strcmp(argv[1], "brief") == 0) return 0;
  std::fprintf(stderr, "usage: procchild.exe launch HEX | brief\n");
  return 2;
}
