// The baseline of the event pipeline's benchmark: per record, the operating
// system calls the agent makes to write one event (the single-record folder,
// a fresh uuid, the existence check, the file, its access rules, the line,
// the close; then the main log opened, sought to its end, sized, written,
// sought again and closed), with lines made beforehand and no cache, lock,
// formatting or debug log. What the agent adds shows against it.
//
// The lines are the main log's as the agent wrote them: the single-record
// line is the same line without its date and time prefix.
//
// With --pass the main log stays open across all records, as in a pass of
// the agent's cache that writes many records at once.
#include <windows.h>

#include <aclapi.h>
#include <io.h>
#include <rpc.h>
#include <sddl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr const wchar_t* kTrustees[] = {L"S-1-5-32-544", L"S-1-3-0", L"S-1-5-18"};

struct Line {
  std::string main;    // with the date and time prefix
  std::string single;  // without it
};

bool ReadLines(const wchar_t* path, std::vector<Line>& lines) {
  FILE* file = _wfopen(path, L"rb");
  if (file == nullptr) return false;
  std::string text;
  char chunk[65536];
  size_t got = 0;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) text.append(chunk, got);
  std::fclose(file);
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find("\r\n", start);
    if (end == std::string::npos) return false;
    end += 2;
    Line line;
    line.main = text.substr(start, end - start);
    // "%Y/%m/%d, %H:%M:%S, ": the prefix ends after its second separator.
    size_t body = line.main.find(", ");
    if (body != std::string::npos) body = line.main.find(", ", body + 2);
    if (body == std::string::npos) return false;
    line.single = line.main.substr(body + 2);
    lines.push_back(std::move(line));
    start = end;
  }
  return true;
}

// The agent's access rules on a new file, call for call.
void Secure(const std::wstring& path) {
  if (_wchmod(path.c_str(), _S_IREAD | _S_IWRITE) != 0) return;
  PSID sids[3] = {};
  EXPLICIT_ACCESS_W entries[3] = {};
  PACL acl = nullptr;
  bool converted = true;
  for (int i = 0; i < 3 && converted; ++i) {
    converted = ConvertStringSidToSidW(kTrustees[i], &sids[i]) != 0;
    entries[i].grfAccessPermissions = 0x1FFFFF;
    entries[i].grfAccessMode = GRANT_ACCESS;
    entries[i].grfInheritance = 3;
    entries[i].Trustee.TrusteeForm = TRUSTEE_IS_SID;
    entries[i].Trustee.ptstrName = static_cast<LPWSTR>(sids[i]);
  }
  if (converted && SetEntriesInAclW(3, entries, nullptr, &acl) == ERROR_SUCCESS) {
    SetNamedSecurityInfoW(const_cast<LPWSTR>(path.c_str()), SE_FILE_OBJECT,
                          DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, nullptr, nullptr, acl,
                          nullptr);
  }
  for (PSID sid : sids) {
    if (sid != nullptr) LocalFree(sid);
  }
  if (acl != nullptr) LocalFree(acl);
}

bool WriteAll(HANDLE file, const std::string& line) {
  DWORD written = 0;
  return WriteFile(file, line.data(), static_cast<DWORD>(line.size()), &written, nullptr) && written == line.size();
}

bool WriteSingleRecordFile(const std::wstring& folder, const std::string& line, std::wstring& path) {
  if (!CreateDirectoryW(folder.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) return false;
  UUID uuid;
  UuidCreate(&uuid);
  RPC_WSTR text = nullptr;
  path = folder + L"\\";
  if (UuidToStringW(&uuid, &text) != RPC_S_OK) return false;
  path += reinterpret_cast<const wchar_t*>(text);
  RpcStringFreeW(&text);
  if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return false;
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  Secure(path);
  bool written = WriteAll(file, line);
  CloseHandle(file);
  return written;
}

HANDLE OpenMainLog(const std::wstring& path) {
  HANDLE file =
      CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return file;
  SetFilePointer(file, 0, nullptr, FILE_END);
  if (GetFileSize(file, nullptr) == 0) Secure(path);
  return file;
}

void CloseMainLog(HANDLE file) {
  SetFilePointer(file, 0, nullptr, FILE_END);
  CloseHandle(file);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  bool onePass = argc == 5 && std::wcscmp(argv[4], L"--pass") == 0;
  if (argc != 4 && !onePass) {
    std::fprintf(stderr, "usage: event_files_bare LINES-FILE SINGLE-RECORD-FOLDER MAIN-LOG [--pass]\n");
    return 2;
  }
  std::vector<Line> lines;
  if (!ReadLines(argv[1], lines)) {
    std::fprintf(stderr, "cannot read the lines of %ls\n", argv[1]);
    return 1;
  }
  std::wstring folder = argv[2], mainLog = argv[3], path;
  // The first calls load and set up what the agent, running for a while,
  // has set up long ago: one file made and removed before the clock starts.
  if (WriteSingleRecordFile(folder, "\r\n", path)) DeleteFileW(path.c_str());
  LARGE_INTEGER frequency, start, end;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&start);
  size_t failed = 0;
  HANDLE passLog = onePass ? OpenMainLog(mainLog) : INVALID_HANDLE_VALUE;
  for (const Line& line : lines) {
    if (!WriteSingleRecordFile(folder, line.single, path)) ++failed;
    if (onePass) {
      if (!WriteAll(passLog, line.main)) ++failed;
      continue;
    }
    HANDLE file = OpenMainLog(mainLog);
    if (file == INVALID_HANDLE_VALUE || !WriteAll(file, line.main)) ++failed;
    if (file != INVALID_HANDLE_VALUE) CloseMainLog(file);
  }
  if (passLog != INVALID_HANDLE_VALUE) CloseMainLog(passLog);
  QueryPerformanceCounter(&end);
  double seconds = static_cast<double>(end.QuadPart - start.QuadPart) / static_cast<double>(frequency.QuadPart);
  std::printf("records=%zu failed=%zu seconds=%.6f eps=%.1f\n", lines.size(), failed, seconds,
              seconds > 0 ? static_cast<double>(lines.size()) / seconds : 0.0);
  return failed == 0 ? 0 : 1;
}
