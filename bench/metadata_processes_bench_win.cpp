// metadata_processes_bench.exe CHILDREN
//
// getRunningProcesses with CHILDREN processes of the benchmark's own beside
// the host's: ParseQueryMetaXml in process, with the debug log written to a
// file at the default level, against a bare Toolhelp walk making the same
// calls per process (open, image name and its long form, the token's user
// and group as SID strings, the times, the process parameters and command
// line read). Then counts LookupAccountSidW calls over two queries from
// empty caches: the first should ask once per SID, the second not at all.
#include <windows.h>

#include <psapi.h>
#include <sddl.h>
#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "bench/interleaved_rounds.h"
#include "log/debug_log.h"
#include "metadata/get_hmd_running_processes.h"
#include "metadata/parse_query_meta_xml.h"
#include "metadata/process_owner.h"
#include "metadata/running_process_calls_win.h"
#include "records/entry_points_win.h"

namespace {

std::vector<PROCESS_INFORMATION> StartChildren(int count) {
  wchar_t self[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::vector<PROCESS_INFORMATION> children;
  for (int i = 0; i < count; ++i) {
    std::wstring commandLine = L"metadata_processes_bench.exe --child " + std::to_wstring(i);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION info = {};
    if (CreateProcessW(self, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info)) {
      children.push_back(info);
    }
  }
  // Let each come up far enough to have its process parameters in place.
  for (const PROCESS_INFORMATION& child : children) WaitForInputIdle(child.hProcess, 5000);
  Sleep(1000);
  return children;
}

void StopChildren(std::vector<PROCESS_INFORMATION>& children) {
  for (PROCESS_INFORMATION& child : children) {
    TerminateProcess(child.hProcess, 0);
    WaitForSingleObject(child.hProcess, 10000);
    CloseHandle(child.hProcess);
    CloseHandle(child.hThread);
  }
}

std::wstring TokenSidString(HANDLE token, TOKEN_INFORMATION_CLASS tokenClass) {
  alignas(8) BYTE buffer[80];
  DWORD length = 0;
  if (!GetTokenInformation(token, tokenClass, buffer, sizeof buffer, &length)) return {};
  PSID sid = tokenClass == TokenUser ? reinterpret_cast<TOKEN_USER*>(buffer)->User.Sid
                                     : reinterpret_cast<TOKEN_PRIMARY_GROUP*>(buffer)->PrimaryGroup;
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(sid, &text)) return {};
  std::wstring out = text;
  LocalFree(text);
  return out;
}

// The query's calls per process, with nothing made of their answers.
size_t BareWalk() {
  size_t touched = 0;
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
    HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, entry.th32ProcessID);
    if (process == nullptr) continue;
    wchar_t name[520], longName[1040];
    if (GetModuleFileNameExW(process, nullptr, name, 520)) touched += GetLongPathNameW(name, longName, 1040);
    HANDLE token = nullptr;
    if (OpenProcessToken(process, TOKEN_QUERY, &token)) {
      touched += TokenSidString(token, TokenUser).size() + TokenSidString(token, TokenPrimaryGroup).size();
      CloseHandle(token);
    }
    FILETIME times[4];
    GetProcessTimes(process, &times[0], &times[1], &times[2], &times[3]);
    BYTE basic[48] = {}, peb[712] = {}, parameters[128] = {}, text[2048];
    ULONG length = 0;
    SIZE_T read = 0;
    if (s_pfnNtQueryInformationProcess(process, 0, basic, sizeof basic, &length) >= 0 &&
        ReadProcessMemory(process, *reinterpret_cast<void**>(basic + 8), peb, sizeof peb, &read) &&
        ReadProcessMemory(process, *reinterpret_cast<void**>(peb + 32), parameters, sizeof parameters, &read)) {
      USHORT units = *reinterpret_cast<USHORT*>(parameters + 112);
      ReadProcessMemory(process, *reinterpret_cast<void**>(parameters + 120), text,
                        units < sizeof text ? units : sizeof text, &read);
      touched += read;
    }
    CloseHandle(process);
  }
  CloseHandle(snapshot);
  return touched;
}

// LookupAccountSidW calls by SID over two queries from empty caches.
void CountLookups() {
  {
    std::lock_guard<std::mutex> hold(s_SidNameCaches.lock);
    s_SidNameCaches.loaded = false;
    s_SidNameCaches.userNameCache.clear();
    s_SidNameCaches.groupNameCache.clear();
  }
  std::map<std::u16string, int> calls;
  for (int query = 1; query <= 2; ++query) {
    HANDLE snapshot = INVALID_HANDLE_VALUE;
    RunningProcessCalls table = SystemRunningProcessCalls(snapshot);
    auto lookup = table.lookupAccountSid;
    int made = 0;
    table.lookupAccountSid = [&](const std::u16string& sid, std::u16string& name, std::u16string& domain,
                                 uint32_t& error) {
      ++calls[sid];
      ++made;
      return lookup(sid, name, domain, error);
    };
    tinyxml2::XMLDocument document;
    tinyxml2::XMLElement* results = document.NewElement("HostMetaDataQueryResults");
    document.InsertEndChild(results);
    GetHmdRunningProcesses(document, results, "1", table);
    std::printf("%s: %d LookupAccountSidW calls\n", query == 1 ? "first query, caches empty" : "second query", made);
  }
  bool oncePerSid = true;
  for (const auto& [sid, count] : calls) {
    std::printf("  %s: %d\n", std::string(sid.begin(), sid.end()).c_str(), count);
    oncePerSid = oncePerSid && count == 1;
  }
  std::printf("one LookupAccountSidW per SID: %s\n", oncePerSid ? "ok" : "MISSED");
}

int Bench(int children) {
  if (HMODULE ntdll = GetModuleHandleW(L"ntdll.dll")) {
    s_pfnNtQueryInformationProcess = reinterpret_cast<PFN_NtQueryInformationProcess>(
        reinterpret_cast<void*>(GetProcAddress(ntdll, "NtQueryInformationProcess")));
  }
  std::filesystem::path folder = std::filesystem::temp_directory_path() / "zent_processes_bench";
  std::filesystem::create_directories(folder);
  // The debug log on, as a running agent has it: a file, the default level.
  s_Settings.DebugLevel = 3;
  s_DebugLog.stream = _wfopen((folder / "zent_agent.log").wstring().c_str(), L"ab");
  std::wstring request = (folder / "meta_request.xml").wstring(), response = (folder / "meta_response.xml").wstring();
  std::ofstream(folder / "meta_request.xml") << "<Message><Request><RequestID>bench</RequestID><HostMetaDataQueries>"
                                                "<HostMetaDataQuery id=\"1\" query=\"getRunningProcesses\"/>"
                                                "</HostMetaDataQueries></Request></Message>";
  std::vector<PROCESS_INFORMATION> started = StartChildren(children);
  size_t sink = 0;
  std::vector<double> t = InterleavedMedians(5, {
      {"agent", [&] { sink += ParseQueryMetaXml(request, response) == 0; }},
      {"bare", [&] { sink += BareWalk(); }},
  });
  PrintRatio("getRunningProcesses, " + std::to_string(started.size()) + " children", t[0], t[1], 1.5);
  std::printf("(response %ju bytes, %zu)\n",
              static_cast<uintmax_t>(std::filesystem::file_size(folder / "meta_response.xml")), sink);
  CountLookups();
  StopChildren(started);
  if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) std::fclose(stream);
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc >= 2 && std::wstring(argv[1]) == L"--child") {
    Sleep(INFINITE);
    return 0;
  }
  int children = argc >= 2 ? _wtoi(argv[1]) : 25;
  return Bench(children);
}
