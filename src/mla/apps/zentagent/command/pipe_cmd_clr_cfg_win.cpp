#include <windows.h>

#include <mutex>

#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"
#include "policy/deployment_lock.h"
#include "policy/policy_files.h"
#include "records/engine_state_win.h"

namespace {

// Result codes of the clear command, which the suite's clients read.
constexpr uint32_t kClearNoDriverHandle = 201512006;
constexpr uint32_t kClearConfigBinNotDeleted = 201512007;
constexpr uint32_t kClearDriverRefused = 201512008;

}  // namespace

int PipeCmdClrCfg(int pipeIndex, CommandHeader* header) {
  // A server deployment on the heartbeat thread rewrites the same files.
  std::lock_guard<std::mutex> deployment(g_DeploymentLock);
  const std::wstring rawPath = WorkingDirectoryFile(kMlmConfigXmlName);
  const std::wstring xmlPath = WorkingDirectoryFile(kConfigXmlName);
  const std::wstring rbfPath = WorkingDirectoryFile(kConfigBinName);
  uint32_t result = 0;
  DWORD rbfError = 0;
  if (g_Engine.hDriver == nullptr) {
    ZENT_LOG(1, L"driver handle is null.\n");
    result = kClearNoDriverHandle;
  } else if (!DeleteFileW(rbfPath.c_str()) && (rbfError = GetLastError()) != ERROR_FILE_NOT_FOUND) {
    // A rule file that stays would be loaded again at the next start, so the
    // driver is not touched and the other files stay too.
    ZENT_LOG(1, L"Failed to delete file(%s). err(%d)\n", rbfPath.c_str(), rbfError);
    result = kClearConfigBinNotDeleted;
  } else {
    if (rbfError == ERROR_FILE_NOT_FOUND) {
      ZENT_LOG(1, L"Failed to delete file(%s). err(%d) (ERROR_FILE_NOT_FOUND=2). Keep going further steps.\n",
               rbfPath.c_str(), rbfError);
    } else {
      ZENT_LOG(4, L"previous ConfigBin(%s) is removed.\n", rbfPath.c_str());
    }
    if (DeleteFileW(xmlPath.c_str())) {
      ZENT_LOG(4, L"previous ConfigXml(%s) is removed.\n", xmlPath.c_str());
    } else {
      ZENT_LOG(1, L"Failed to delete file(%s). err(%d). But keep going further steps.\n", xmlPath.c_str(), GetLastError());
    }
    if (DeleteFileW(rawPath.c_str())) {
      ZENT_LOG(4, L"previous MlmConfigXml(%s) is removed.\n", rawPath.c_str());
    } else {
      ZENT_LOG(1, L"Failed to delete file(%s). err(%d). But keep going further steps.\n", rawPath.c_str(), GetLastError());
    }
    int rc = mli_clear_config(g_Engine.hDriver);
    if (rc != 0) {
      ZENT_LOG(1, L"Error during filter config clear attempt. err(%d)\n", rc);
      result = kClearDriverRefused;
    } else {
      ZENT_LOG(3, L"IPS rules config cleared.\n");
    }
  }
  int rc = SendSimpleReply(pipeIndex, *header, result);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
