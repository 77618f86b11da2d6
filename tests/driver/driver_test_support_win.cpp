#include "driver_test_support_win.h"

#include <regex>

#include "build_outputs.h"
#include "driver/network_component_win.h"
#include "support/temp_folder_win.h"

namespace drivertest {

namespace {

std::wstring Folder(UINT (*get)(LPWSTR, UINT)) {
  wchar_t path[MAX_PATH] = {};
  get(path, MAX_PATH);
  return path;
}

void RemoveTree(const std::wstring& path) {
  WIN32_FIND_DATAW entry;
  HANDLE find = FindFirstFileW((path + L"\\*").c_str(), &entry);
  if (find != INVALID_HANDLE_VALUE) {
    do {
      std::wstring name = entry.cFileName;
      if (name == L"." || name == L"..") continue;
      std::wstring child = path + L"\\" + name;
      if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        RemoveTree(child);
      } else {
        SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
        DeleteFileW(child.c_str());
      }
    } while (FindNextFileW(find, &entry));
    FindClose(find);
  }
  RemoveDirectoryW(path.c_str());
}

bool StartsWithNoCase(const std::wstring& name, const wchar_t* start) {
  return _wcsnicmp(name.c_str(), start, wcslen(start)) == 0;
}

// The store's copies a test may have left: the package's INFs under their
// own names or as oemN.inf, and their .pnf files.
void ClearInfStore() {
  std::wstring store = WindowsFolder() + L"\\inf";
  WIN32_FIND_DATAW entry;
  HANDLE find = FindFirstFileW((store + L"\\*").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return;
  do {
    std::wstring name = entry.cFileName;
    if (name == L"." || name == L"..") continue;
    if (StartsWithNoCase(name, L"oem") || StartsWithNoCase(name, L"xoem") || StartsWithNoCase(name, L"netmlfilter") ||
        StartsWithNoCase(name, L"netnrx")) {
      std::wstring path = store + L"\\" + name;
      if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        RemoveTree(path);
      } else {
        DeleteFileW(path.c_str());
      }
    }
  } while (FindNextFileW(find, &entry));
  FindClose(find);
}

bool g_registered = false;

}  // namespace

std::wstring WindowsFolder() { return Folder(GetWindowsDirectoryW); }
std::wstring SystemFolder() { return Folder(GetSystemDirectoryW); }
std::wstring InfStore() { return WindowsFolder() + L"\\INF"; }
std::wstring InstalledDriverFile() { return SystemFolder() + L"\\drivers\\mlfilter.sys"; }

std::wstring PackageDriver(const wchar_t* variant) {
  return zentsim::testing::BuildOutput(L"ZENT_SIM_DRIVER_PACKAGE") + L"\\" + variant + L"\\mlfilter.sys";
}

std::wstring PackageInf(const wchar_t* name) {
  return zentsim::testing::BuildOutput(L"ZENT_SIM_DRIVER_PACKAGE") + L"\\inf\\" + name;
}

DWORD RegisterNetCfg(bool unregister) {
  std::wstring dll = zentsim::testing::BuildOutput(L"ZENT_SIM_NETCFG_DLL");
  return RunToEnd(SystemFolder() + L"\\regsvr32.exe " + (unregister ? L"/u " : L"") + L"/s \"" + dll + L"\"");
}

bool FileExists(const std::wstring& path) { return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES; }

bool WriteBytes(const std::wstring& path, const std::string& bytes) {
  HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD written = 0;
  BOOL ok = WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
  CloseHandle(file);
  return ok && written == bytes.size();
}

std::string ReadBytes(const std::wstring& path) {
  std::string bytes;
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return bytes;
  char buffer[4096];
  DWORD count = 0;
  while (ReadFile(file, buffer, sizeof buffer, &count, nullptr) && count != 0) bytes.append(buffer, count);
  CloseHandle(file);
  return bytes;
}

bool ServiceRegistered(const wchar_t* name) {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT);
  if (manager == nullptr) return false;
  SC_HANDLE service = OpenServiceW(manager, name, SERVICE_QUERY_CONFIG);
  bool found = service != nullptr;
  if (service) CloseServiceHandle(service);
  CloseServiceHandle(manager);
  return found;
}

void RemoveService(const wchar_t* name) {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager == nullptr) return;
  SC_HANDLE service = OpenServiceW(manager, name, DELETE);
  if (service) {
    DeleteService(service);
    CloseServiceHandle(service);
  }
  CloseServiceHandle(manager);
}

std::string FileVersionText(const std::wstring& path) {
  DWORD handle = 0;
  DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
  if (size == 0) return "none";
  std::string block(size, '\0');
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  if (!GetFileVersionInfoW(path.c_str(), 0, size, block.data()) ||
      !VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length) || fixed == nullptr) {
    return "none";
  }
  return std::to_string(HIWORD(fixed->dwFileVersionMS)) + "." + std::to_string(LOWORD(fixed->dwFileVersionMS)) + "." +
         std::to_string(HIWORD(fixed->dwFileVersionLS)) + "." + std::to_string(LOWORD(fixed->dwFileVersionLS));
}

std::string SystemText(HRESULT error) {
  wchar_t* text = nullptr;
  DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                nullptr, static_cast<DWORD>(error), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                reinterpret_cast<wchar_t*>(&text), 0, nullptr);
  if (length == 0) return "Unknow";
  std::wstring whole(text);
  LocalFree(text);
  if (whole.size() > 400) whole.resize(400);
  whole.pop_back();
  return Narrow(whole);
}

std::string Code(HRESULT error) {
  char text[16];
  snprintf(text, sizeof text, "0x%08lx", static_cast<unsigned long>(error));
  return text;
}

std::string Narrow(const std::wstring& text) {
  std::string out;
  for (wchar_t c : text) out.push_back(static_cast<char>(c));
  return out;
}

std::vector<std::string> LogLines(const std::string& text) {
  static const std::regex prefix("[0-9:-]{23} \\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[(\\w+):[0-9]+\\] ");
  std::vector<std::string> lines;
  size_t start = 0;
  std::string pending;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string one = text.substr(start, end - start);
    start = end + 1;
    std::smatch match;
    if (std::regex_search(one, match, prefix) && match.position(0) == 0) {
      if (match[1].str() == "PrepAndLaunchRedirectedChild") continue;
      lines.push_back(match[1].str() + ": " + match.suffix().str());
    } else {
      // A message of several lines goes on.
      lines.push_back(one);
    }
  }
  return lines;
}

std::vector<std::string> JournalLines(const zentsim::testing::StandInKey& key) {
  std::vector<std::string> lines;
  std::wstring journal = key.String(L"Journal").value_or(L"");
  size_t start = 0;
  while (start < journal.size()) {
    size_t end = journal.find(L'\n', start);
    if (end == std::wstring::npos) end = journal.size();
    lines.push_back(Narrow(journal.substr(start, end - start)));
    start = end + 1;
  }
  return lines;
}

std::vector<std::string> AcquireJournal() {
  return {"CreateInstance(INetCfg) = 0x00000000", "QueryInterface(INetCfgLock) = 0x00000000",
          "AcquireWriteLock(5000, ZentAgent, out) = 0x00000000", "Initialize(null) = 0x00000000",
          "Freed INetCfgLock"};
}

std::vector<std::string> ReleaseJournal() {
  return {"Uninitialize() = 0x00000000", "QueryInterface(INetCfgLock) = 0x00000000", "ReleaseWriteLock() = 0x00000000",
          "Freed INetCfgLock", "Freed INetCfg"};
}

std::vector<std::string> Joined(std::initializer_list<std::vector<std::string>> parts) {
  std::vector<std::string> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

void DriverTest::SetUp() {
  if (!g_registered) {
    ASSERT_EQ(RegisterNetCfg(), 0u);
    g_registered = true;
  }
  RemoveService(L"mlfilter");
  DeleteFileW(InstalledDriverFile().c_str());
  DeleteFileW((WindowsFolder() + L"\\mlfilter.sys").c_str());
  ClearInfStore();
  ASSERT_TRUE(CopyFileW(zentsim::testing::BuildOutput(L"ZENT_SIM_PNPUTIL_EXE").c_str(),
                        (SystemFolder() + L"\\pnputil.exe").c_str(), FALSE));
  workingDirectory = MakeTempFolder(L"driver");
  RemoveTree(workingDirectory);
  CreateDirectoryW(workingDirectory.c_str(), nullptr);
  CreateDirectoryW((workingDirectory + L"\\infsys").c_str(), nullptr);
  driverDirectory = workingDirectory + L"\\infsys\\Win7Release";
  CreateDirectoryW(driverDirectory.c_str(), nullptr);
  s_Settings.workingDirectory = workingDirectory;
  s_Settings.driverDirectory = driverDirectory;
}

void DriverTest::TearDown() {
  RemoveTree(workingDirectory);
  RemoveService(L"mlfilter");
  DeleteFileW(InstalledDriverFile().c_str());
  ClearInfStore();
}

void DriverTest::MakePackage(const wchar_t* variant, std::initializer_list<const wchar_t*> infs) {
  if (variant != nullptr) {
    ASSERT_TRUE(CopyFileW(PackageDriver(variant).c_str(), DriverDirectoryFile(L"mlfilter.sys").c_str(), FALSE))
        << Narrow(PackageDriver(variant));
  }
  for (const wchar_t* inf : infs) {
    ASSERT_TRUE(CopyFileW(PackageInf(inf).c_str(), DriverDirectoryFile(inf).c_str(), FALSE)) << Narrow(PackageInf(inf));
  }
}

void DriverTest::InstallComponentFirst() {
  MakePackage(L"current", {L"netmlfilter.inf"});
  ASSERT_EQ(ndis_install_driver(driverDirectory, false), S_OK);
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, (L"SOFTWARE\\ZentSim\\" + scope.Name() + L"\\netcfg").c_str(), 0,
                          KEY_ALL_ACCESS, &key),
            ERROR_SUCCESS);
  std::vector<std::wstring> names;
  wchar_t name[256];
  for (DWORD i = 0;; ++i) {
    DWORD length = 256;
    if (RegEnumValueW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    if (std::wstring(name) != L"Installed") names.push_back(name);
  }
  for (const std::wstring& value : names) RegDeleteValueW(key, value.c_str());
  RegCloseKey(key);
  logStart = log.Text().size();
}

}  // namespace drivertest
