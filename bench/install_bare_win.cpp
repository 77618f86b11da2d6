// install_bare.exe install|upgrade|delete
//
// The baseline of the deployment commands' benchmark: the same system calls
// that "ZentAgent.exe -install" (a fresh install or a driver upgrade) and
// "-delete" make on the road they take in the benchmark (control manager,
// network configuration, SetupAPI, registry, files, the driver's access
// library, the framework's signature check), in the same order, without the
// debug log, the settings and any check of a result. It runs from the
// agent's folder, beside mli.dll and the framework's library.
#include <windows.h>

#include <netcfgx.h>
#include <psapi.h>
#include <setupapi.h>
#include <shlobj.h>
#include <tlhelp32.h>
// The network service class's GUID, defined here.
#include <initguid.h>
#include <devguid.h>

#include <cstdio>
#include <string>
#include <vector>

#include "platform/klf_agent.h"
#include "platform/mli.h"

namespace {

std::wstring folder;

std::wstring FolderFile(const wchar_t* name) { return folder + L"\\" + name; }

// What every run of the agent does first: its path, the framework, its
// settings and its own version.
void Start() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  folder = path;
  folder.resize(folder.find_last_of(L'\\'));
  HKEY key = nullptr;
  RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Wow6432Node\\Halvane\\BrevonNTCorp\\CurrentVersion", 0, KEY_READ,
                &key);
  wchar_t value[MAX_PATH];
  DWORD size = sizeof value;
  RegQueryValueExW(key, L"Application Path", nullptr, nullptr, reinterpret_cast<BYTE*>(value), &size);
  RegCloseKey(key);
  if (HMODULE framework = LoadLibraryW(FolderFile(L"klfAgent_64x.dll").c_str())) {
    for (const char* name : {"klfCnt_SystemCall", "klfCnt_Free", "klfCnt_LoadLibraryWithSignCheck",
                             "klfCnt_VerifyEmbeddedSignatureAndSigner"}) {
      GetProcAddress(framework, name);
    }
  }
  std::wstring ini = FolderFile(L"config\\zent_agent.ini");
  for (const wchar_t* name : {L"TestMode", L"ConfigEncrypt", L"DisableScheduleHeartBeat", L"HeartBeatTimer",
                              L"FirstHeartBeat", L"HeartBeatRetryMax", L"FlushDebugLogTimer", L"DebugLevel",
                              L"DbgviewLog", L"LogFile", L"LogFileSizeLimit"}) {
    GetPrivateProfileIntW(L"ZENTSETTINGS", name, 0, ini.c_str());
  }
  GetPrivateProfileStringW(L"Policy", L"DeployedPolicy", L"", value, MAX_PATH, ini.c_str());
  OSVERSIONINFOEXW os = {};
  os.dwOSVersionInfoSize = sizeof os;
  GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&os));
  LoadLibraryW(L"dbghelp.dll");
  DWORD handle = 0;
  std::wstring exe = FolderFile(L"ZentAgent.exe");
  std::vector<char> info(GetFileVersionInfoSizeW(exe.c_str(), &handle) + 1);
  GetFileVersionInfoW(exe.c_str(), 0, static_cast<DWORD>(info.size()), info.data());
  void* fixed = nullptr;
  UINT length = 0;
  VerQueryValueW(info.data(), L"\\", &fixed, &length);
}

void FileVersion(const std::wstring& path) {
  DWORD handle = 0;
  std::vector<char> info(GetFileVersionInfoSizeW(path.c_str(), &handle) + 1);
  GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(info.size()), info.data());
  void* fixed = nullptr;
  UINT length = 0;
  VerQueryValueW(info.data(), L"\\", &fixed, &length);
}

void NoIncompatibleAgent() {
  HKEY key = nullptr;
  RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\Halvane\\Pellor Client", 0, KEY_READ, &key);
  RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SYSTEM\\CurrentControlSet\\Services\\ml_agent", 0, KEY_READ, &key);
}

HANDLE TakeMutex() {
  HANDLE mutex = CreateMutexW(nullptr, FALSE, L"ZentAgentDeploymentMutex");
  WaitForSingleObject(mutex, 300000);
  return mutex;
}

// The configuration with its write lock, as the installer takes it.
INetCfg* AcquireNetCfg() {
  CoInitialize(nullptr);
  INetCfg* netCfg = nullptr;
  CoCreateInstance(CLSID_CNetCfg, nullptr, CLSCTX_INPROC_SERVER, IID_INetCfg, reinterpret_cast<void**>(&netCfg));
  INetCfgLock* lock = nullptr;
  netCfg->QueryInterface(IID_INetCfgLock, reinterpret_cast<void**>(&lock));
  LPWSTR lockedBy = nullptr;
  lock->AcquireWriteLock(5000, L"ZentAgent", &lockedBy);
  lock->Release();
  netCfg->Initialize(nullptr);
  return netCfg;
}

void ReleaseNetCfg(INetCfg* netCfg) {
  netCfg->Uninitialize();
  INetCfgLock* lock = nullptr;
  netCfg->QueryInterface(IID_INetCfgLock, reinterpret_cast<void**>(&lock));
  lock->ReleaseWriteLock();
  lock->Release();
  netCfg->Release();
  CoUninitialize();
}

std::wstring SystemFolderFile(int folderId, const wchar_t* name) {
  wchar_t path[MAX_PATH];
  SHGetFolderPathW(nullptr, folderId, nullptr, SHGFP_TYPE_CURRENT, path);
  return std::wstring(path) + name;
}

void UninstallComponent() {
  INetCfg* netCfg = AcquireNetCfg();
  INetCfgComponent* component = nullptr;
  netCfg->FindComponent(L"mlfilter", &component);
  GUID classGuid;
  component->GetClassGuid(&classGuid);
  INetCfgClass* netCfgClass = nullptr;
  netCfg->QueryNetCfgClass(&classGuid, IID_INetCfgClass, reinterpret_cast<void**>(&netCfgClass));
  INetCfgClassSetup* setup = nullptr;
  netCfgClass->QueryInterface(IID_INetCfgClassSetup, reinterpret_cast<void**>(&setup));
  OBO_TOKEN obo = {};
  obo.Type = OBO_USER;
  setup->DeInstall(component, &obo, nullptr);
  netCfg->Apply();
  setup->Release();
  netCfgClass->Release();
  component->Release();
  ReleaseNetCfg(netCfg);
  DeleteFileW(SystemFolderFile(CSIDL_SYSTEM, L"\\drivers\\mlfilter.sys").c_str());
}

// The INF store's oem files, each read whole; the one naming the driver goes
// through pnputil.
void CleanUpOemFiles() {
  std::wstring store = SystemFolderFile(CSIDL_WINDOWS, L"\\INF");
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW((store + L"\\*").c_str(), &found);
  std::wstring named;
  if (search != INVALID_HANDLE_VALUE) {
    do {
      std::wstring name = found.cFileName;
      if (named.empty() && name.size() > 7 && _wcsnicmp(name.c_str(), L"oem", 3) == 0 &&
          _wcsicmp(name.c_str() + name.size() - 4, L".inf") == 0) {
        HANDLE file = CreateFileW((store + L"\\" + name).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
        std::string bytes(GetFileSize(file, nullptr), '\0');
        DWORD got = 0;
        ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr);
        CloseHandle(file);
        if (bytes.find("mlfilter") != std::string::npos) named = name;
      }
    } while (FindNextFileW(search, &found));
    FindClose(search);
  }
  if (named.empty()) return;
  wchar_t system[MAX_PATH];
  GetSystemDirectoryW(system, MAX_PATH);
  std::wstring command = L"\"" + std::wstring(system) + L"\\pnputil.exe\" -f -d " + named;
  SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
  HANDLE readEnd = nullptr, writeEnd = nullptr;
  CreatePipe(&readEnd, &writeEnd, &inherit, 0);
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = writeEnd;
  startup.hStdError = writeEnd;
  PROCESS_INFORMATION process = {};
  CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr, nullptr, &startup,
                 &process);
  CloseHandle(writeEnd);
  char buffer[4096];
  DWORD got = 0;
  while (ReadFile(readEnd, buffer, sizeof buffer, &got, nullptr) && got > 0) {
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD exitCode = 0;
  GetExitCodeProcess(process.hProcess, &exitCode);
  CloseHandle(process.hProcess);
  CloseHandle(process.hThread);
  CloseHandle(readEnd);
}

void InstallComponent() {
  std::wstring inf = FolderFile(L"infsys\\Win7Release\\netmlfilter.inf");
  GetFileAttributesW(inf.c_str());
  INetCfg* netCfg = AcquireNetCfg();
  void* drive = CoTaskMemAlloc(3 * sizeof(wchar_t));
  void* directory = CoTaskMemAlloc(256 * sizeof(wchar_t));
  std::wstring source = FolderFile(L"infsys\\Win7Release\\");
  SetupCopyOEMInfW(inf.c_str(), source.c_str(), SPOST_PATH, 0, nullptr, 0, nullptr, nullptr);
  CoTaskMemFree(drive);
  CoTaskMemFree(directory);
  INetCfgClassSetup* setup = nullptr;
  netCfg->QueryNetCfgClass(&GUID_DEVCLASS_NETSERVICE, IID_INetCfgClassSetup, reinterpret_cast<void**>(&setup));
  OBO_TOKEN obo = {};
  obo.Type = OBO_USER;
  INetCfgComponent* component = nullptr;
  setup->Install(L"mlfilter", &obo, 0, 0, nullptr, nullptr, &component);
  if (component != nullptr) component->Release();
  setup->Release();
  netCfg->Apply();
  netCfg->Apply();
  ReleaseNetCfg(netCfg);
  HKEY key = nullptr;
  RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Services\\mlfilter", 0, KEY_READ, &key);
  RegCloseKey(key);
  RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"System\\CurrentControlSet\\Services\\mlfilter", 0, KEY_WRITE, &key);
  std::wstring rules = FolderFile(L"config.rbf");
  RegSetValueExW(key, L"ConfigBinary", 0, REG_SZ, reinterpret_cast<const BYTE*>(rules.c_str()),
                 static_cast<DWORD>((rules.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(key);
}

void RegisterService() {
  wchar_t path[MAX_PATH];
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  SC_HANDLE service = OpenServiceW(manager, L"ZentAgent", SERVICE_ALL_ACCESS);
  if (service == nullptr) {
    std::wstring command = L"\"" + FolderFile(L"ZentAgent.exe") + L"\" -service";
    service = CreateServiceW(manager, L"ZentAgent", L"Halvane Zent Service (Agent)", SERVICE_ALL_ACCESS,
                             SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL, command.c_str(),
                             nullptr, nullptr, nullptr, nullptr, nullptr);
    SERVICE_DESCRIPTIONW description = {const_cast<wchar_t*>(L"Detects Intrusion Prevention rule violations.")};
    ChangeServiceConfig2W(service, SERVICE_CONFIG_DESCRIPTION, &description);
  }
  CloseServiceHandle(service);
  CloseServiceHandle(manager);
}

void LoadRules() {
  std::wstring rules = FolderFile(L"config.rbf");
  if (GetFileAttributesW(rules.c_str()) == INVALID_FILE_ATTRIBUTES) return;
  MLI_HANDLE driver = mli_open();
  HANDLE file = CreateFileW(rules.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  std::string bytes(GetFileSize(file, nullptr), '\0');
  DWORD got = 0;
  ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr);
  CloseHandle(file);
  mli_load_config(driver, bytes.data(), static_cast<uint32_t>(bytes.size()));
  mli_close(driver);
}

void Install(bool upgrade) {
  NoIncompatibleAgent();
  HANDLE mutex = TakeMutex();
  std::wstring package = FolderFile(L"infsys\\Win7Release\\mlfilter.sys");
  GetFileAttributesW(package.c_str());
  FileVersion(package);
  MLI_HANDLE driver = mli_open();
  if (driver != nullptr) {
    char version[64];
    mli_get_version(driver, version, sizeof version);
    mli_close(driver);
  } else {
    std::wstring installed = SystemFolderFile(CSIDL_SYSTEM, L"\\drivers\\mlfilter.sys");
    GetFileAttributesW(installed.c_str());
  }
  if (upgrade) UninstallComponent();
  CleanUpOemFiles();
  InstallComponent();
  RegisterService();
  LoadRules();
  ReleaseMutex(mutex);
}

void Delete() {
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  DWORD parent = 0;
  for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry)) {
    if (entry.th32ProcessID == GetCurrentProcessId()) parent = entry.th32ParentProcessID;
  }
  CloseHandle(snapshot);
  HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, parent);
  wchar_t image[MAX_PATH] = {};
  GetModuleFileNameExW(process, nullptr, image, MAX_PATH);
  CloseHandle(process);
  if (HMODULE framework = GetModuleHandleW(L"klfAgent_64x.dll")) {
    auto verify = reinterpret_cast<klfCnt_VerifyEmbeddedSignatureAndSigner_t>(
        reinterpret_cast<void*>(GetProcAddress(framework, "klfCnt_VerifyEmbeddedSignatureAndSigner")));
    if (verify != nullptr) verify(KLF_EXPECTED_SIGNER, image);
  }
  HANDLE mutex = TakeMutex();
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  SC_HANDLE service =
      OpenServiceW(manager, L"ZentAgent", SERVICE_STOP | SERVICE_QUERY_STATUS | SERVICE_ENUMERATE_DEPENDENTS);
  SERVICE_STATUS_PROCESS status = {};
  DWORD needed = 0;
  QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status, &needed);
  CloseServiceHandle(service);
  CloseServiceHandle(manager);
  UninstallComponent();
  manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  service = OpenServiceW(manager, L"ZentAgent", SERVICE_ALL_ACCESS);
  DeleteService(service);
  CloseServiceHandle(service);
  CloseServiceHandle(manager);
  ReleaseMutex(mutex);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  std::wstring mode = argc == 2 ? argv[1] : L"";
  if (mode != L"install" && mode != L"upgrade" && mode != L"delete") {
    std::fputs("usage: install_bare install|upgrade|delete\n", stderr);
    return 2;
  }
  Start();
  if (mode == L"delete") {
    Delete();
  } else {
    Install(mode == L"upgrade");
  }
  return 0;
}
