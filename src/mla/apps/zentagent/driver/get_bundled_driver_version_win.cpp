#include "driver/driver_files_win.h"
#include "driver/driver_versions_win.h"
#include "log/debug_log.h"
#include "util/file_version_win.h"

bool GetBundledDriverVersion() {
  std::wstring path = s_Settings.driverDirectory + L"\\mlfilter.sys";
  ZENT_LOG(4, L"Checking version of %s\n", path.c_str());
  if (!IsRegularFile(path)) {
    ZENT_LOG(1, L"Driver binary doesn't exist - skipping driver install/upgrade.\n");
    return false;
  }
  if (!GetFileVersion(path, s_Settings.packageDriverVersion)) {
    ZENT_LOG(1, L"Unable to get version information from '%s'. Unable to install or upgrade the driver.\n",
             path.c_str());
    return false;
  }
  return true;
}
