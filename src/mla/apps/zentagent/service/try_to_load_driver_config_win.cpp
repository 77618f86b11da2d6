#include "service/try_to_load_driver_config_win.h"

#include <windows.h>

#include "log/debug_log.h"
#include "policy/compile_and_send_config_win.h"
#include "policy/policy_files.h"

void TryToLoadDriverConfig() {
  const std::wstring rbfPath = WorkingDirectoryFile(kConfigBinName);
  DWORD attributes = GetFileAttributesW(rbfPath.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    ZENT_LOG(3, L"Config file (%s) does not exist or is a directory.\n", rbfPath.c_str());
    return;
  }
  MLI_HANDLE driver = mli_open();
  if (driver == nullptr) {
    ZENT_LOG(1, L"Can't talk to driver.\nIs it loaded? Are you root?\n");
    return;
  }
  if (SendConfig(driver, rbfPath) == 0) {
    ZENT_LOG(3, L"Load %s to driver successfully.\n", rbfPath.c_str());
  } else {
    ZENT_LOG(1, L"Unable to load .rbf file to driver.\n");
  }
  mli_close(driver);
}
