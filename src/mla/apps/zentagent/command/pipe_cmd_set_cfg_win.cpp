#include <windows.h>

#include <mutex>

#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"
#include "policy/compile_and_send_config_win.h"
#include "policy/deployment_lock.h"
#include "policy/policy_files.h"
#include "records/engine_state_win.h"
#include "util/whole_file.h"

int PipeCmdSetCfg(int pipeIndex, CommandHeader* header, std::string_view message) {
  // A server deployment on the heartbeat thread rewrites the same files.
  std::lock_guard<std::mutex> deployment(g_DeploymentLock);
  const std::wstring xmlPath = WorkingDirectoryFile(kConfigXmlName);
  const std::wstring rbfPath = WorkingDirectoryFile(kConfigBinName);
  const std::wstring compilerPath = WorkingDirectoryFile(kCompilerName);
  uint32_t result = 1;
  if (g_Engine.hDriver == nullptr) {
    ZENT_LOG(1, L"driver handle is null\n");
  } else {
    // A deletion that fails is no reason to stop: the write below decides.
    if (DeleteFileW(xmlPath.c_str())) ZENT_LOG(4, L"previous ConfigXml(%s) is removed.\n", xmlPath.c_str());
    if (DeleteFileW(rbfPath.c_str())) ZENT_LOG(4, L"previous ConfigBin(%s) is removed.\n", rbfPath.c_str());
    // The document goes to the compiler in the form that ConfigEncrypt
    // announces; the agent does not look at it.
    std::string data(message.substr(kCommandHeaderSize));
    ZENT_LOG(4, L"command size=%d, data size=%d\n", static_cast<int>(kCommandHeaderSize), static_cast<int>(data.size()));
    if (putStringToFile(xmlPath, data) && CompileAndSendConfig(xmlPath, rbfPath, compilerPath) == 0) result = 0;
  }
  int rc = SendSimpleReply(pipeIndex, *header, result);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
