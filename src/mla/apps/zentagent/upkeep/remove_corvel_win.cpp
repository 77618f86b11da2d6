#include "upkeep/remove_corvel_win.h"

#include <windows.h>

#include "log/debug_log.h"
#include "upkeep/corvel_command_lines.h"
#include "upkeep/corvel_uninstall_result.h"
#include "upkeep/incompatible_agent_codes.h"
#include "upkeep/system_tool_win.h"
#include "util/process_win.h"

namespace {

// Corvel's monitor would hold its files open. taskkill's verdict does not
// matter: a monitor that is not running gives a non-zero code too.
void KillCorvelMonitor() {
  ZENT_LOG_AS("RemoveCorvel", 3, L"start kill mla.exe\n");
  DWORD exitCode = static_cast<DWORD>(-1);
  std::string output;
  if (!utilProcess::LaunchCmd(SystemToolPath(L"\\taskkill.exe").c_str(), L"/F /T /IM mla.exe", &exitCode, output)) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"kill mla error\n");
  } else if (exitCode != 0) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"kill mla.exe failed, exitCode=%d\n", exitCode);
    ZENT_LOG_AS("RemoveCorvel", 1, L"output=\n%S\n", output.c_str());
  }
}

// An empty temporary file for the uninstaller's own log, kept beside the
// agent when the removal fails; false (and no log) when it cannot be made.
bool PrepareUninstallLog(std::wstring& logPath) {
  wchar_t tempFolder[MAX_PATH];
  DWORD length = GetTempPathW(MAX_PATH, tempFolder);
  if (length == 0 || length >= MAX_PATH) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"Get temp folder failed.\n");
    return false;
  }
  wchar_t tempFile[MAX_PATH];
  if (GetTempFileNameW(tempFolder, L"corvel_uninstall", 0, tempFile) == 0) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"Get temp file name failed.\n");
    return false;
  }
  HANDLE file = CreateFileW(tempFile, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"Create corvel uninstall log file failed.\n");
    return false;
  }
  if (!CloseHandle(file)) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"CloseHandle failed.\n");
    return false;
  }
  logPath = tempFile;
  return true;
}

// The uninstaller's log goes beside the agent, where the suite collects
// what a failed deployment left.
void KeepUninstallLog(const std::wstring& logPath) {
  wchar_t modulePath[MAX_PATH];
  DWORD length = GetModuleFileNameW(nullptr, modulePath, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"get current bin path failed, error=%d\n", GetLastError());
    return;
  }
  std::wstring folder(modulePath, length);
  folder.resize(folder.rfind(L'\\') == std::wstring::npos ? 0 : folder.rfind(L'\\'));
  std::wstring kept = folder + L"\\corvel_uninstall.log";
  if (!CopyFileW(logPath.c_str(), kept.c_str(), FALSE)) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"copy uninstall log fail, error=%d\n", GetLastError());
  }
}

int JudgeExitCode(DWORD exitCode, const std::string& output) {
  if (exitCode != 0) {
    ZENT_LOG_AS("RemoveCorvel", 1, L"uninstall corvel fail, error=%d\n", exitCode);
    ZENT_LOG_AS("RemoveCorvel", 1, L"output=\n%S\n", output.c_str());
  }
  std::string pendingFiles;
  if (exitCode == 1603) GetPendingFilesRegistryString(pendingFiles);
  CorvelUninstallOutcome outcome = JudgeCorvelUninstall(exitCode, PendingFilesHoldCorvelDriver(pendingFiles));
  switch (outcome) {
    case CorvelUninstallOutcome::RebootRequired:
      ZENT_LOG_AS("RemoveCorvel", 3, L"require reboot\n");
      break;
    case CorvelUninstallOutcome::DriverPendingRemoval:
      ZENT_LOG_AS("RemoveCorvel", 3,
                  L"hvactmon.sys was in PendingFileRenameOperations. require reboot to uninstall corvel\n");
      break;
    case CorvelUninstallOutcome::Failed1603:
      ZENT_LOG_AS("RemoveCorvel", 1, L"PendingFileRenameOperations=[%S]\n", pendingFiles.c_str());
      break;
    case CorvelUninstallOutcome::Removed:
    case CorvelUninstallOutcome::Failed:
      break;
  }
  return CorvelUninstallResult(outcome);
}

}  // namespace

int RemoveCorvel() {
  std::wstring guid;
  if (!GetInstalledSoftwareGUID(guid, L"Corvel Agent")) {
    ZENT_LOG(3, L"Can not find corvel guid\n");
    if (!GetInstalledSoftwareGUID(guid, L"Halvane Corvel Agent")) {
      ZENT_LOG(1, L"Can not find corvel and hvcorvel guid\n");
      return kCorvelNotRemoved;
    }
  }
  // Both results are left alone: the uninstaller's own verdict is what counts.
  DisableCorvelSelfProtection();
  ResetCorvelSetting();
  KillCorvelMonitor();

  std::wstring logPath;
  bool withLog = PrepareUninstallLog(logPath);
  std::wstring arguments = CorvelUninstallArguments(guid, withLog ? &logPath : nullptr);

  ZENT_LOG(3, L"Corvel guid=%s\n", guid);
  ZENT_LOG(4, L"start uninstall corvel.\n");
  DWORD exitCode = static_cast<DWORD>(-1);
  std::string output;
  if (!utilProcess::LaunchCmd(SystemToolPath(L"\\MsiExec.exe").c_str(), arguments.c_str(), &exitCode, output)) {
    ZENT_LOG(1, L"uninstall error\n");
  }
  ZENT_LOG(3, L"Exit code=%d\n", exitCode);
  int result = JudgeExitCode(exitCode, output);
  if (withLog && exitCode != 0) KeepUninstallLog(logPath);
  return result;
}
