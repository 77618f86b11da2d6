// Corvel's control program, mla_control in its install folder, run through
// cmd.exe before its uninstaller.
#include <windows.h>

#include "log/debug_log.h"
#include "upkeep/corvel_command_lines.h"
#include "upkeep/remove_corvel_win.h"
#include "upkeep/system_tool_win.h"
#include "util/process_win.h"

namespace {

// False when the install folder is unknown; launched tells whether the tool
// ran, and its exit code (preset to -1) and output are the caller's to judge.
bool RunMlaControl(const char* function, const wchar_t* option, bool& launched, DWORD& exitCode,
                   std::string& output) {
  std::wstring folder;
  if (!GetCorvelInstallFolder(folder)) {
    ZENT_LOG_AS(function, 1, L"get Corvel install path failed.\n");
    return false;
  }
  std::wstring arguments = MlaControlArguments(folder, option);
  launched = utilProcess::LaunchCmd(SystemToolPath(L"\\cmd.exe").c_str(), arguments.c_str(), &exitCode, output);
  if (!launched) ZENT_LOG_AS(function, 1, L"run mla_control fail.\n");
  return true;
}

}  // namespace

bool ResetCorvelSetting() {
  DWORD exitCode = static_cast<DWORD>(-1);
  std::string output;
  bool launched = false;
  if (!RunMlaControl(__func__, kMlaControlReset, launched, exitCode, output)) return false;
  if (launched && exitCode != 0) ZENT_LOG(1, L"reset corvel setting fail, error=%d\n", exitCode);
  ZENT_LOG(3, L"mla_control -r exitCode=%d, output=\n%S\n", exitCode, output.c_str());
  return exitCode == 0;
}

bool DisableCorvelSelfProtection() {
  DWORD exitCode = static_cast<DWORD>(-1);
  std::string output;
  bool launched = false;
  if (!RunMlaControl(__func__, kMlaControlSelfProtectionOff, launched, exitCode, output)) return false;
  if (launched && exitCode != 0) ZENT_LOG(1, L"disable corvel self protection fail, error=%d\n", exitCode);
  ZENT_LOG(3, L"mla_control -s off exitCode=%d, output=\n%S\n", exitCode, output.c_str());
  return exitCode == 0;
}
