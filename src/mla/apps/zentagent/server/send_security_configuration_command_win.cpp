// "SendSecurityConfiguration": deploys a manager policy to the filter driver.
// The steps run in a fixed order and nothing is rolled back: a failed step
// leaves what the earlier ones wrote, and the server learns the outcome only
// from the policyInfo of later heartbeats.
#include <windows.h>

#include <mutex>
#include <string>

#include "log/debug_log.h"
#include "policy/agent_config_document.h"
#include "policy/compile_and_send_config_win.h"
#include "policy/deployment_lock.h"
#include "policy/policy_files.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "server/get_file_modify_time.h"
#include "server/multi_commands_win.h"
#include "server/store_raw_policy_win.h"
#include "util/agent_registry_key.h"
#include "util/reg_key_win.h"

namespace {

bool SetTime(utilRegKey& key, const char* valueName, int32_t time) {
  DWORD value = static_cast<DWORD>(time);
  return key.SetRegWithCreate(valueName, &value);
}

}  // namespace

void RunSendSecurityConfiguration(int index, const CommandFileNames& files) {
  std::lock_guard<std::mutex> deployment(g_DeploymentLock);
  ZENT_LOG_AS("ParseMultiCmdXml", 4, L"process xml command(%d): SendSecurityConfiguration\n", index);
  const std::wstring rawPath = WorkingDirectoryFile(kMlmConfigXmlName);
  const std::wstring xmlPath = WorkingDirectoryFile(kConfigXmlName);
  const std::wstring rbfPath = WorkingDirectoryFile(kConfigBinName);
  const std::wstring compilerPath = WorkingDirectoryFile(kCompilerName);
  utilRegKey key(kAgentRegistryKey);

  if (ParseRawConfigXml(files.commandFile, files.resultFile) != 0) return;
  ZENT_LOG_AS("ParseMultiCmdXml", 4, L"successfully converted Manager Config XML to Agent Config XML\n");

  // The raw policy as received: the single command, wrapped in its Message.
  StoreRawPolicy(files.commandFile, rawPath);
  if (!CopyFileW(files.resultFile.c_str(), xmlPath.c_str(), FALSE)) {
    ZENT_LOG_AS("ParseMultiCmdXml", 4, L"copy temp result to config.xml failed\n");
    return;
  }
  int32_t rawTime = GetFileModifyTime(rawPath);
  int32_t xmlTime = GetFileModifyTime(xmlPath);
  if (!SetTime(key, "RawConfigTime", rawTime) || !SetTime(key, "ConfigXmlTime", xmlTime)) {
    ZENT_LOG_AS("ParseMultiCmdXml", 1, L"SetRegWithCreate REG_Raw_Config_Time failed\n");
  }

  int compiled = CompileAndSendConfig(xmlPath, rbfPath, compilerPath);
  // The value follows whatever rule file stands there, also after a failure.
  if (!SetTime(key, "ConfigBinTime", GetFileModifyTime(rbfPath))) {
    ZENT_LOG_AS("ParseMultiCmdXml", 1, L"SetRegWithCreate REG_Config_Bin_Time failed\n");
  }
  if (compiled != 0) {
    ZENT_LOG_AS("ParseMultiCmdXml", 4, L"CompileAndSendConfig failed\n");
    return;
  }

  ZENT_LOG_AS("ParseMultiCmdXml", 4, L"CompileAndSendConfig succeeded\n");
  s_Settings.DeployedPolicy = s_Settings.RequestPolicy;
  ZENT_LOG_AS("ParseMultiCmdXml", 4, L"write policy info in ini...\n");
  ZENT_LOG_AS("ParseMultiCmdXml", 4, L"start write depolyed policy info: %s\n", s_Settings.DeployedPolicy.c_str());
  if (!WritePrivateProfileStringW(L"Policy", L"DeployedPolicy", s_Settings.DeployedPolicy.c_str(),
                                  s_Settings.iniFile.c_str())) {
    ZENT_LOG_AS("ParseMultiCmdXml", 1, L"Unable to write depolyed policy info into zent_agent.ini, err: %d\n",
                GetLastError());
  }
  // The next heartbeat tells the server at once what runs now.
  SetEvent(g_Engine.s_hNotifyEvent);
  RemoveCommandFiles(files);
}
