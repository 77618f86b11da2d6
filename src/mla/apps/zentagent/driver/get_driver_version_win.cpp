#include <cstring>

#include "driver/driver_files_win.h"
#include "driver/driver_version.h"
#include "driver/driver_versions_win.h"
#include "log/debug_log.h"
#include "platform/mli.h"
#include "util/file_version_win.h"

namespace {

// Room for the running driver's version text.
constexpr int kVersionTextRoom = 256;

}  // namespace

bool GetDriverVersion() {
  MLI_HANDLE driver = mli_open();
  std::memset(s_Settings.installedDriverVersion, 0, sizeof s_Settings.installedDriverVersion);
  if (driver != nullptr) {
    char text[kVersionTextRoom] = {};
    int rc = mli_get_version(driver, text, kVersionTextRoom);
    mli_close(driver);
    if (rc != 0) ZENT_LOG(1, L"mli_get_version fails: rc=%d\n", rc);
    text[kVersionTextRoom - 1] = '\0';
    if (ParseRunningDriverVersion(text, s_Settings.installedDriverVersion)) {
      s_Settings.driverRunning = true;
      return true;
    }
    ZENT_LOG(1, L"Unable to parse the version string returned from the running driver ('%S')\n", text);
  }
  return GetInstalledDriverVersion();
}

bool GetInstalledDriverVersion() {
  std::wstring path;
  HRESULT folder = InstalledDriverPath(path);
  if (FAILED(folder)) {
    ZENT_LOG(1, L"SHGetFolderPath fails: error=%d\n", folder);
    return false;
  }
  ZENT_LOG(4, L"Checking version of %s\n", path.c_str());
  if (!IsRegularFile(path)) {
    ZENT_LOG(3, L"No installed driver - installing current driver version.\n");
    return false;
  }
  if (!GetFileVersion(path, s_Settings.installedDriverVersion)) {
    s_Settings.installedDriverVersion[0] = 0;
    ZENT_LOG(1, L"Unable to get version information from '%s'.\n", path.c_str());
    return false;
  }
  return true;
}
