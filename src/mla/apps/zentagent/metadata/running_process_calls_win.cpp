#include "metadata/running_process_calls_win.h"

#include <psapi.h>
#include <sddl.h>
#include <tlhelp32.h>

#include "records/entry_points_win.h"
#include "util/text_win.h"

namespace {

// Room the query gives the system's answers, in units or bytes.
constexpr DWORD kModuleNameUnits = 520;
constexpr DWORD kLongPathUnits = 1040;
constexpr DWORD kTokenInformationBytes = 80;
constexpr DWORD kAccountNameUnits = 260;

HANDLE AsHandle(InspectedHandle handle) { return reinterpret_cast<HANDLE>(handle); }
InspectedHandle AsInspected(HANDLE handle) { return reinterpret_cast<InspectedHandle>(handle); }

const wchar_t* Wide(const std::u16string& text) { return reinterpret_cast<const wchar_t*>(text.c_str()); }
std::u16string Utf16(const wchar_t* text) { return reinterpret_cast<const char16_t*>(text); }

bool NextEntry(HANDLE snapshot, bool first, ProcessEntry& out) {
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  if (!(first ? Process32FirstW(snapshot, &entry) : Process32NextW(snapshot, &entry))) return false;
  out.threads = entry.cntThreads;
  out.exeFile = Utf16(entry.szExeFile);
  out.pid = entry.th32ProcessID;
  out.parentPid = entry.th32ParentProcessID;
  return true;
}

InspectedHandle OpenForInspection(uint32_t pid, uint32_t& error) {
  HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, pid);
  error = process == nullptr ? GetLastError() : 0;
  return AsInspected(process);
}

bool ModuleFileName(InspectedHandle process, std::u16string& name) {
  wchar_t buffer[kModuleNameUnits] = {};
  DWORD units = GetModuleFileNameExW(AsHandle(process), nullptr, buffer, kModuleNameUnits);
  if (units == 0) return false;
  name.assign(reinterpret_cast<const char16_t*>(buffer), units);
  return true;
}

bool LongPathName(const std::u16string& path, std::u16string& longPath) {
  wchar_t buffer[kLongPathUnits] = {};
  DWORD units = GetLongPathNameW(Wide(path), buffer, kLongPathUnits);
  if (units == 0 || units >= kLongPathUnits) return false;
  longPath.assign(reinterpret_cast<const char16_t*>(buffer), units);
  return true;
}

std::optional<std::u16string> EnvironmentVariable(const char16_t* name) {
  const wchar_t* wideName = reinterpret_cast<const wchar_t*>(name);
  DWORD units = GetEnvironmentVariableW(wideName, nullptr, 0);
  if (units == 0) return std::nullopt;
  std::wstring value(units, L'\0');
  units = GetEnvironmentVariableW(wideName, value.data(), units);
  if (units == 0 || units >= value.size()) return std::nullopt;
  return std::u16string(reinterpret_cast<const char16_t*>(value.data()), units);
}

bool CreationTime(InspectedHandle process, int64_t& created) {
  FILETIME creation, exit, kernel, user;
  if (!GetProcessTimes(AsHandle(process), &creation, &exit, &kernel, &user)) return false;
  created = static_cast<int64_t>((static_cast<uint64_t>(creation.dwHighDateTime) << 32) | creation.dwLowDateTime);
  return true;
}

uint32_t ReadMemory(InspectedHandle process, uint64_t address, uint32_t size, unsigned char* buffer) {
  SIZE_T read = 0;
  if (ReadProcessMemory(AsHandle(process), reinterpret_cast<const void*>(address), buffer, size, &read)) return 0;
  return GetLastError();
}

InspectedHandle OpenToken(InspectedHandle process) {
  HANDLE token = nullptr;
  return OpenProcessToken(AsHandle(process), TOKEN_QUERY, &token) ? AsInspected(token) : 0;
}

bool TokenSid(InspectedHandle token, int tokenClass, std::u16string& sid) {
  alignas(8) BYTE buffer[kTokenInformationBytes];
  DWORD length = 0;
  if (!GetTokenInformation(AsHandle(token), static_cast<TOKEN_INFORMATION_CLASS>(tokenClass), buffer,
                           kTokenInformationBytes, &length)) {
    return false;
  }
  PSID owner = tokenClass == kTokenUserClass ? reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid
                                             : reinterpret_cast<TOKEN_PRIMARY_GROUP*>(buffer)->PrimaryGroup;
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(owner, &text)) return false;
  sid = Utf16(text);
  LocalFree(text);
  return true;
}

SidLookupOutcome LookupAccount(const std::u16string& sidString, std::u16string& name, std::u16string& domain,
                               uint32_t& error) {
  PSID sid = nullptr;
  if (!ConvertStringSidToSidW(Wide(sidString), &sid)) return SidLookupOutcome::NotASid;
  wchar_t account[kAccountNameUnits] = {}, domainName[kAccountNameUnits] = {};
  DWORD accountUnits = kAccountNameUnits, domainUnits = kAccountNameUnits;
  SID_NAME_USE use;
  bool found = LookupAccountSidW(nullptr, sid, account, &accountUnits, domainName, &domainUnits, &use);
  error = found ? 0 : GetLastError();
  LocalFree(sid);
  if (!found) return SidLookupOutcome::Unknown;
  name = Utf16(account);
  domain = Utf16(domainName);
  return SidLookupOutcome::Found;
}

}  // namespace

RunningProcessCalls SystemRunningProcessCalls(HANDLE& snapshot) {
  RunningProcessCalls calls;
  calls.openSnapshot = [&snapshot] {
    snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    return snapshot != INVALID_HANDLE_VALUE;
  };
  calls.nextEntry = [&snapshot](bool first, ProcessEntry& entry) { return NextEntry(snapshot, first, entry); };
  calls.closeSnapshot = [&snapshot] {
    CloseHandle(snapshot);
    snapshot = INVALID_HANDLE_VALUE;
  };
  calls.openProcess = OpenForInspection;
  calls.closeProcess = [](InspectedHandle process) { CloseHandle(AsHandle(process)); };
  calls.moduleFileName = ModuleFileName;
  calls.longPathName = LongPathName;
  calls.environmentVariable = EnvironmentVariable;
  calls.creationTime = CreationTime;
  if (PFN_NtQueryInformationProcess query = s_pfnNtQueryInformationProcess) {
    calls.queryBasicInformation = [query](InspectedHandle process, unsigned char* buffer, uint32_t size) {
      ULONG length = 0;
      return static_cast<int32_t>(query(AsHandle(process), 0, buffer, size, &length));
    };
  }
  calls.readMemory = ReadMemory;
  calls.openToken = OpenToken;
  calls.tokenSid = TokenSid;
  calls.closeToken = [](InspectedHandle token) { CloseHandle(AsHandle(token)); };
  calls.lookupAccountSid = LookupAccount;
  calls.toAnsi = [](const std::u16string& text) { return wideToAnsi(Wide(text)); };
  return calls;
}
