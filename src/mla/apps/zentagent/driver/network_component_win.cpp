#include "driver/network_component_win.h"

#include "driver/component_setup_win.h"
#include "driver/driver_files_win.h"
#include "driver/inf_names.h"
#include "driver/network_results.h"
#include "log/debug_log.h"

namespace {

// The driver file beside the Windows folder, where embedded systems want it
// during the install; target is set once it is named.
HRESULT CopyDriverToWindows(const std::wstring& driverDirectory, std::wstring& target) {
  wchar_t windows[MAX_PATH] = {};
  if (GetWindowsDirectoryW(windows, MAX_PATH) == 0) {
    DWORD error = GetLastError();
    ZENT_LOG_AS("ndis_install_driver", 1, L"GetWindowsDirectoryW failed, err=%d\n", error);
    return HresultFromWin32(error);
  }
  std::wstring source = driverDirectory + L"\\mlfilter.sys";
  target = std::wstring(windows) + L"\\mlfilter.sys";
  ZENT_LOG_AS("ndis_install_driver", 4, L"Copying '%s' to '%s'\n", source.c_str(), target.c_str());
  if (!CopyFileW(source.c_str(), target.c_str(), FALSE)) {
    DWORD error = GetLastError();
    ZENT_LOG_AS("ndis_install_driver", 1, L"CopyFileW failed, err=%d\n", error);
    return HresultFromWin32(error);
  }
  return S_OK;
}

// The first INF of the table that installs, or stops the search.
HRESULT InstallFromInfs(const std::wstring& driverDirectory) {
  HRESULT last = E_FAIL;
  for (size_t i = 0; i < kInfNamesSearched; ++i) {
    std::wstring infPath = driverDirectory + L"\\" + kInfNames[i];
    ZENT_LOG_AS("ndis_install_driver", 5, L"checking inf path %s\n", infPath.c_str());
    if (!IsRegularFile(infPath)) continue;
    ZENT_LOG_AS("ndis_install_driver", 2, L"installing driver, inf found: %s\n", infPath.c_str());
    last = InstallSpecifiedComponent(infPath);
    switch (JudgeInfAttempt(last)) {
      case InfAttempt::Installed:
        ZENT_LOG_AS("ndis_install_driver", 2, L"driver installed.\n");
        return last;
      case InfAttempt::InstalledReboot:
        ZENT_LOG_AS("ndis_install_driver", 1, L"driver installed successfully: Reboot required.\n");
        return last;
      case InfAttempt::NeedReboot:
        ZENT_LOG_AS("ndis_install_driver", 1, L"A system reboot is required before the component can be installed.\n");
        return last;
      case InfAttempt::FilterLimit:
        ZENT_LOG_AS("ndis_install_driver", 1, L"the number of network filer driver meet limit.\n");
        return last;
      case InfAttempt::TryNext:
        ZENT_LOG_AS("ndis_install_driver", 1, L"InstallSpecifiedComponent failed. error=0x%08lx, %s\n", last, SystemErrorText(last).c_str());
        break;
    }
  }
  ZENT_LOG_AS("ndis_install_driver", 1, L"Cannot find INF file or all INF file failed.\n");
  return last;
}

}  // namespace

HRESULT ndis_install_driver(const std::wstring& driverDirectory, bool copyToWindows) {
  std::wstring target;
  HRESULT result = copyToWindows ? CopyDriverToWindows(driverDirectory, target) : S_OK;
  if (result == S_OK) result = InstallFromInfs(driverDirectory);
  // The copy exists only for the time of the install, a failed one included.
  if (!target.empty()) DeleteFileW(target.c_str());
  return result;
}

HRESULT ndis_uninstall_driver() {
  HRESULT result = UninstallComponent();
  switch (JudgeUninstall(result)) {
    case UninstallOutcome::Uninstalled:
      ZENT_LOG(2, L"driver uninstalled.\n");
      break;
    case UninstallOutcome::UninstalledReboot:
      ZENT_LOG(1, L"driver uninstalled successfully: Reboot required.\n");
      break;
    case UninstallOutcome::Failed:
      // A component that was not there (1) is reported here too; callers
      // take any non-negative result as done.
      ZENT_LOG(1, L"UninstallComponent failed. error=0x%08lx, %s\n", result, SystemErrorText(result).c_str());
      return result;
  }
  // A file held by the running driver may stay until the reboot.
  std::wstring path;
  HRESULT folder = InstalledDriverPath(path);
  if (FAILED(folder)) {
    ZENT_LOG(1, L"SHGetFolderPath fails: error=0x%08lx, %s\n", folder, SystemErrorText(folder).c_str());
  } else if (IsRegularFile(path) && !DeleteFileW(path.c_str())) {
    ZENT_LOG(1, L"DeleteFile fails: error=%d\n", GetLastError());
  }
  return result;
}
