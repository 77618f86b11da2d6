#include <windows.h>
#include <setupapi.h>

#include <cwchar>

#include "driver/component_setup_win.h"
#include "driver/driver_files_win.h"
#include "driver/inf_source_folder.h"
#include "driver/net_cfg_win.h"
#include "driver/network_results.h"
#include "log/debug_log.h"

namespace {

const GUID kNetServiceClass = {0x4D36E974, 0xE325, 0x11CE, {0xBF, 0xC1, 0x08, 0x00, 0x2B, 0xE1, 0x03, 0x18}};

// The INF's source folder for SetupCopyOEMInfW, its two parts held in
// buffers of their fixed room.
HRESULT SourceFolder(const std::wstring& infPath, std::wstring& folder) {
  wchar_t* drive = static_cast<wchar_t*>(CoTaskMemAlloc(kInfDriveRoom * sizeof(wchar_t)));
  wchar_t* directory = static_cast<wchar_t*>(CoTaskMemAlloc(kInfDirectoryRoom * sizeof(wchar_t)));
  HRESULT result = S_OK;
  std::wstring drivePart, directoryPart;
  if (drive == nullptr || directory == nullptr) {
    result = kEOutOfMemory;
  } else if (!SplitInfPath(infPath, drivePart, directoryPart)) {
    // A folder deeper than the buffer cannot be named: this INF fails.
    result = HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE);
  } else {
    wcscpy_s(drive, kInfDriveRoom, drivePart.c_str());
    wcscpy_s(directory, kInfDirectoryRoom, directoryPart.c_str());
    folder = std::wstring(drive) + directory;
  }
  CoTaskMemFree(drive);
  CoTaskMemFree(directory);
  return result;
}

}  // namespace

HRESULT HrInstallComponent(INetCfg* netCfg, const std::wstring& infPath) {
  std::wstring folder;
  HRESULT result = SourceFolder(infPath, folder);
  if (result != S_OK) return result;
  if (!SetupCopyOEMInfW(infPath.c_str(), folder.c_str(), SPOST_PATH, 0, nullptr, 0, nullptr, nullptr)) {
    return HRESULT_FROM_WIN32(GetLastError());
  }
  INetCfgClassSetup* classSetup = nullptr;
  result = netCfg->QueryNetCfgClass(&kNetServiceClass, IID_INetCfgClassSetup, reinterpret_cast<void**>(&classSetup));
  if (FAILED(result) || classSetup == nullptr) {
    ZENT_LOG(1, L"pnc->QueryNetCfgClass fails. error=0x%08lx, %s\n", result, SystemErrorText(result).c_str());
    return result;
  }
  OBO_TOKEN obo = {};
  obo.Type = OBO_USER;
  INetCfgComponent* component = nullptr;
  result = classSetup->Install(kDriverComponentId, &obo, 0, 0, nullptr, nullptr, &component);
  if (FAILED(result)) {
    ZENT_LOG(1, L"pncClassSetup->Install fails. error=0x%08lx, %s\n", result, SystemErrorText(result).c_str());
  }
  ReleaseRef(component);
  ReleaseRef(classSetup);
  if (result == S_OK) result = netCfg->Apply();
  return result;
}

HRESULT InstallSpecifiedComponent(const std::wstring& infPath) {
  INetCfg* netCfg = nullptr;
  LPWSTR lockedBy = nullptr;
  HRESULT result = AcquireNetCfg(&netCfg, &lockedBy);
  if (result != S_OK) {
    if (result == kNetcfgENoWriteLock && lockedBy != nullptr) {
      ZENT_LOG(1, L"%s currently holds the lock, try later. error=0x%08lx, %s\n", lockedBy, result,
               SystemErrorText(result).c_str());
    } else {
      // The message's wording is kept as the log's readers know it.
      ZENT_LOG(1, L"Couldn't the get notify object interface. error=0x%08lx, %s\n", result,
               SystemErrorText(result).c_str());
    }
    CoTaskMemFree(lockedBy);
    return result;
  }
  result = HrInstallComponent(netCfg, infPath);
  if (InstallWantsApply(result)) {
    result = netCfg->Apply();
  } else if (InstallFailureIsLogged(result)) {
    ZENT_LOG(1, L"Couldn't install the network component. error=0x%08lx, %s\n", result,
             SystemErrorText(result).c_str());
  }
  ReleaseNetCfg(netCfg);
  return result;
}
