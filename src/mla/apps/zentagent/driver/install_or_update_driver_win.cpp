#include "driver/install_or_update_driver_win.h"

#include <windows.h>

#include "driver/driver_version.h"
#include "driver/driver_versions_win.h"
#include "driver/network_component_win.h"
#include "driver/network_results.h"
#include "log/debug_log.h"
#include "policy/policy_files.h"
#include "util/reg_key_win.h"
#include "util/text_win.h"

namespace {

int Part(const uint16_t version[4], int i) { return static_cast<int16_t>(version[i]); }

// The driver finds the rules of the last start through this value, whether
// config.rbf is there yet or not.
void WriteConfigBinary() {
  const std::string keyName = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\mlfilter";
  const std::string valueName = "ConfigBinary";
  utilRegKey key(keyName);
  if (!key.KeyExists()) {
    ZENT_LOG_AS("InstallOrUpdateDriver", 1, L"cannot find registry %S\n", keyName.c_str());
    return;
  }
  if (!key.Open(1)) {
    ZENT_LOG_AS("InstallOrUpdateDriver", 1, L"cannot open registry %S\n", keyName.c_str());
    return;
  }
  std::wstring rbfPath = WorkingDirectoryFile(kConfigBinName);
  if (!key.SetValue(valueName, wideToUtf8(rbfPath.c_str()))) {
    ZENT_LOG_AS("InstallOrUpdateDriver", 1, L"cannot set value(%S) under key(%S)\n", valueName.c_str(), keyName.c_str());
  }
}

// Removes the driver in place before the package's is installed; false when
// the install must not go on.
bool RemoveDriverInPlace() {
  ZENT_LOG_AS("InstallOrUpdateDriver", 2, L"uninstall driver in folder\n");
  HRESULT result = ndis_uninstall_driver();
  if (UninstallFailureIsFatal(result, s_Settings.driverRunning)) {
    ZENT_LOG_AS("InstallOrUpdateDriver", 1, L"uninstall driver fails\n");
    return false;
  }
  if (result < 0) ZENT_LOG_AS("InstallOrUpdateDriver", 1, L"driver is not running, cannot uninstall it\n");
  return true;
}

}  // namespace

int InstallOrUpdateDriver() {
  if (!GetBundledDriverVersion()) return kDriverInstallFailed;
  const uint16_t* package = s_Settings.packageDriverVersion;
  if (GetDriverVersion()) {
    const uint16_t* installed = s_Settings.installedDriverVersion;
    ZENT_LOG(3, L"Installed driver version is %d.%d.%d.%d, new driver version is %d.%d.%d.%d\n",
             Part(installed, 0), Part(installed, 1), Part(installed, 2), Part(installed, 3), Part(package, 0),
             Part(package, 1), Part(package, 2), Part(package, 3));
    switch (DecideDriverVersion(installed, package, s_Settings.driverRunning)) {
      case DriverVersionDecision::KeepNewer:
        return 0;
      case DriverVersionDecision::KeepRunning:
        ZENT_LOG(3, L"Running driver is the correct version.\n");
        return 0;
      case DriverVersionDecision::FinishPartialInstall:
        ZENT_LOG(1, L"Driver is not running - probably a result of a partial install that required a reboot.\n");
        [[fallthrough]];
      case DriverVersionDecision::Upgrade:
        if (!RemoveDriverInPlace()) return kDriverUninstallFailed;
        break;
    }
  } else {
    ZENT_LOG(3, L"New driver version is %d.%d.%d.%d\n", Part(package, 0), Part(package, 1), Part(package, 2),
             Part(package, 3));
  }

  CleanUpOEMFiles();
  // Embedded systems keep the driver file in the Windows folder for the
  // time of the install.
  bool copyToWindows = (s_Settings.osSuiteMask & VER_SUITE_EMBEDDEDNT) != 0;
  ZENT_LOG(2, L"install driver in folder %s, copy to windows dir = %s\n", s_Settings.driverDirectory.c_str(),
           copyToWindows ? L"true" : L"false");
  HRESULT result = ndis_install_driver(s_Settings.driverDirectory, copyToWindows);
  int failure = DriverInstallFailureCode(result);
  if (failure == kDriverNeedRebootFirst) {
    ZENT_LOG(1, L"need to reboot before install driver.\n");
  } else if (failure == kDriverFilterLimit) {
    // The message's wording is what the installer's readers search for.
    ZENT_LOG(1, L"the number of network filer driver meet limit.\n");
  } else if (failure != 0) {
    ZENT_LOG(1, L"install driver fails\n");
  }
  if (failure != 0) return failure;

  WriteConfigBinary();
  return DriverInstalledCode(result);
}
