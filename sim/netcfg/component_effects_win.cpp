// What an installed component leaves on the system: the driver file in
// system32\drivers, copied from the folder the INF came from, and the
// driver's service "mlfilter".
#include <optional>
#include <string>

#include "objects_win.h"
#include "sim_registry.h"

namespace netcfgsim {

namespace {

std::wstring Wide(const std::string& text) {
  int size = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
  std::wstring out(static_cast<size_t>(size > 0 ? size - 1 : 0), L'\0');
  if (size > 1) MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, out.data(), size);
  return out;
}

std::string ReadBytes(const std::wstring& path) {
  std::string bytes;
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return bytes;
  char buffer[4096];
  DWORD count = 0;
  while (ReadFile(file, buffer, sizeof buffer, &count, nullptr) && count != 0) bytes.append(buffer, count);
  CloseHandle(file);
  return bytes;
}

// The INF's source folder, from the .pnf SetupCopyOEMInfW wrote beside the
// store's copy: a header line, then the source INF's path. Of the copies that
// name the component, the newest .pnf is the last one installed.
std::optional<std::wstring> InfSourceFolder() {
  wchar_t windows[MAX_PATH] = {};
  GetWindowsDirectoryW(windows, MAX_PATH);
  std::wstring store = std::wstring(windows) + L"\\inf\\";
  WIN32_FIND_DATAW entry;
  HANDLE find = FindFirstFileW((store + L"*.pnf").c_str(), &entry);
  if (find == INVALID_HANDLE_VALUE) return std::nullopt;
  std::optional<std::wstring> newest;
  FILETIME newestTime = {};
  do {
    std::wstring pnf = store + entry.cFileName;
    std::wstring inf = pnf.substr(0, pnf.size() - 4) + L".inf";
    if (ReadBytes(inf).find("mlfilter") == std::string::npos) continue;
    if (newest && CompareFileTime(&entry.ftLastWriteTime, &newestTime) <= 0) continue;
    std::string text = ReadBytes(pnf);
    size_t lineEnd = text.find('\n');
    if (lineEnd == std::string::npos) continue;
    std::string source = text.substr(lineEnd + 1);
    while (!source.empty() && (source.back() == '\r' || source.back() == '\n' || source.back() == '\0')) source.pop_back();
    size_t slash = source.find_last_of("\\/");
    if (slash == std::string::npos) continue;
    newest = Wide(source.substr(0, slash));
    newestTime = entry.ftLastWriteTime;
  } while (FindNextFileW(find, &entry));
  FindClose(find);
  return newest;
}

void CopyDriverFile() {
  std::optional<std::wstring> folder = InfSourceFolder();
  if (!folder) {
    zentsim::WriteString(kStandIn, L"LastEffectError", "no INF copy in the store names mlfilter");
    return;
  }
  wchar_t system[MAX_PATH] = {};
  GetSystemDirectoryW(system, MAX_PATH);
  std::wstring drivers = std::wstring(system) + L"\\drivers";
  CreateDirectoryW(drivers.c_str(), nullptr);
  std::wstring source = *folder + L"\\mlfilter.sys";
  if (!CopyFileW(source.c_str(), (drivers + L"\\mlfilter.sys").c_str(), FALSE)) {
    zentsim::WriteString(kStandIn, L"LastEffectError",
                         "cannot copy the driver file: error " + std::to_string(GetLastError()));
    return;
  }
  std::wstring copied = source;
  zentsim::WriteString(kStandIn, L"DriverCopiedFrom", std::string(copied.begin(), copied.end()));
}

void RegisterDriverService() {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager == nullptr) return;
  // A program of the tests stands in for the kernel driver; without one the
  // service names the driver file, as a driver service would.
  std::optional<std::string> program = zentsim::ReadString(kStandIn, L"DriverServiceProgram");
  wchar_t system[MAX_PATH] = {};
  GetSystemDirectoryW(system, MAX_PATH);
  std::wstring binary = program ? Wide(*program) : std::wstring(system) + L"\\drivers\\mlfilter.sys";
  DWORD type = program ? SERVICE_WIN32_OWN_PROCESS : SERVICE_KERNEL_DRIVER;
  SC_HANDLE service = CreateServiceW(manager, L"mlfilter", L"mlfilter", SERVICE_ALL_ACCESS, type,
                                     SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, binary.c_str(), nullptr, nullptr,
                                     nullptr, nullptr, nullptr);
  if (service == nullptr && GetLastError() == ERROR_SERVICE_EXISTS) {
    service = OpenServiceW(manager, L"mlfilter", SERVICE_ALL_ACCESS);
    if (service != nullptr) {
      ChangeServiceConfigW(service, type, SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, binary.c_str(), nullptr,
                           nullptr, nullptr, nullptr, nullptr, nullptr);
    }
  }
  if (service == nullptr) {
    zentsim::WriteString(kStandIn, L"LastEffectError",
                         "cannot register the service: error " + std::to_string(GetLastError()));
  } else {
    CloseServiceHandle(service);
  }
  CloseServiceHandle(manager);
}

}  // namespace

void InstallDriverComponent() {
  CopyDriverFile();
  RegisterDriverService();
  zentsim::WriteDword(kStandIn, L"Installed", 1);
}

// The component's removal unloads the filter: its service is stopped, and
// waited for a few seconds, before it is deleted.
void StopDriverService(SC_HANDLE service) {
  SERVICE_STATUS status = {};
  if (!ControlService(service, SERVICE_CONTROL_STOP, &status)) return;
  for (int waited = 0; waited < 10000 && status.dwCurrentState != SERVICE_STOPPED; waited += 100) {
    Sleep(100);
    if (!QueryServiceStatus(service, &status)) return;
  }
}

void RemoveDriverComponent() {
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager != nullptr) {
    SC_HANDLE service = OpenServiceW(manager, L"mlfilter", DELETE | SERVICE_STOP | SERVICE_QUERY_STATUS);
    if (service != nullptr) {
      StopDriverService(service);
      DeleteService(service);
      CloseServiceHandle(service);
    }
    CloseServiceHandle(manager);
  }
  zentsim::WriteDword(kStandIn, L"Installed", 0);
}

}  // namespace netcfgsim
