// What the running processes query asks of the system, as one table of
// calls over plain data. The Windows half (get_hmd_running_processes_win.cpp)
// fills it with Toolhelp, OpenProcess, the token and SID calls and
// ReadProcessMemory; tests pass fakes that play other owners, refusals and
// partial reads that the host under test cannot show.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

// An open process or token of the table's own; 0 is none.
using InspectedHandle = uintptr_t;

// One PROCESSENTRY32W, as the snapshot gives it.
struct ProcessEntry {
  uint32_t threads = 0;        // cntThreads
  std::u16string exeFile;      // szExeFile
  uint32_t pid = 0;            // th32ProcessID
  uint32_t parentPid = 0;      // th32ParentProcessID
};

// What LookupAccountSidW made of a SID string.
enum class SidLookupOutcome {
  NotASid,  // ConvertStringSidToSidW refused the string
  Unknown,  // the system does not know the SID; error holds why
  Found,
};

// The token classes the owner is read from.
constexpr int kTokenUserClass = 1;
constexpr int kTokenPrimaryGroupClass = 5;

struct RunningProcessCalls {
  // CreateToolhelp32Snapshot for processes; false when it cannot be taken.
  std::function<bool()> openSnapshot;
  // Process32FirstW (first) or Process32NextW; false at the end.
  std::function<bool(bool first, ProcessEntry& entry)> nextEntry;
  std::function<void()> closeSnapshot;

  // OpenProcess for query and read access; 0 and the error on failure.
  std::function<InspectedHandle(uint32_t pid, uint32_t& error)> openProcess;
  std::function<void(InspectedHandle process)> closeProcess;

  // GetModuleFileNameExW of the main module, room for 520 units.
  std::function<bool(InspectedHandle process, std::u16string& name)> moduleFileName;
  // GetLongPathNameW into 1,040 units.
  std::function<bool(const std::u16string& path, std::u16string& longPath)> longPathName;
  // An environment variable of the agent's own ("SystemRoot"), if it has one.
  std::function<std::optional<std::u16string>(const char16_t* name)> environmentVariable;

  // GetProcessTimes: the creation time as the 64-bit FILETIME count.
  std::function<bool(InspectedHandle process, int64_t& created)> creationTime;

  // NtQueryInformationProcess with ProcessBasicInformation into 48 bytes;
  // the NTSTATUS. Empty when ntdll's entry could not be resolved.
  std::function<int32_t(InspectedHandle process, unsigned char* buffer, uint32_t size)> queryBasicInformation;
  // ReadProcessMemory of exactly size bytes at address; 0, or the error.
  std::function<uint32_t(InspectedHandle process, uint64_t address, uint32_t size, unsigned char* buffer)>
      readMemory;

  // OpenProcessToken with TOKEN_QUERY; 0 on failure.
  std::function<InspectedHandle(InspectedHandle process)> openToken;
  // GetTokenInformation of the class into 80 bytes, then
  // ConvertSidToStringSidW of the SID it holds; false when either fails.
  std::function<bool(InspectedHandle token, int tokenClass, std::u16string& sid)> tokenSid;
  std::function<void(InspectedHandle token)> closeToken;
  // ConvertStringSidToSidW, then LookupAccountSidW on the local system with
  // 260 units for each name.
  std::function<SidLookupOutcome(const std::u16string& sid, std::u16string& name, std::u16string& domain,
                                 uint32_t& error)>
      lookupAccountSid;

  // 16-bit text to the system's ANSI code page.
  std::function<std::string(const std::u16string& text)> toAnsi;
};
