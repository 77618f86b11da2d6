#include <windows.h>

#include <mutex>
#include <string>

#include "log/debug_log.h"
#include "policy/deployment_lock.h"
#include "records/engine_state_win.h"
#include "records/entry_points_win.h"
#include "records/settings.h"
#include "server/heartbeat_message.h"
#include "service/crash_filter_win.h"
#include "service/settings_win.h"
#include "upkeep/monitor_config_win.h"

namespace {

const wchar_t kSettingsSection[] = L"ZENTSETTINGS";

UINT ReadInt(const wchar_t* key, int defaultValue) {
  return GetPrivateProfileIntW(kSettingsSection, key, defaultValue, s_Settings.iniFile.c_str());
}

}  // namespace

void LoadZentSettings() {
  // Other threads hold the path's text while they read or write the ini;
  // assigning even the same text would free the buffer under them.
  std::wstring iniFile = s_Settings.workingDirectory + L"\\config\\zent_agent.ini";
  if (s_Settings.iniFile != iniFile) s_Settings.iniFile = iniFile;
  // Each field is overwritten on its own: a reader on another thread may see
  // old and new values side by side for a moment.
  s_Settings.s_bTestMode = ReadInt(L"TestMode", 0) != 0;
  s_Settings.s_bConfigEncrypt = ReadInt(L"ConfigEncrypt", 1) != 0;
  s_Settings.DisableScheduleHeartBeat = ReadInt(L"DisableScheduleHeartBeat", 1) != 0;
  s_Settings.HeartBeatTimer = ReadInt(L"HeartBeatTimer", 600000);
  s_Settings.FirstHeartBeat = ReadInt(L"FirstHeartBeat", 30000);
  s_Settings.HeartBeatRetryMax = static_cast<int32_t>(ReadInt(L"HeartBeatRetryMax", 1));
  s_Settings.FlushDebugLogTimer = ReadInt(L"FlushDebugLogTimer", 1000);
  s_Settings.DebugLevel = static_cast<int32_t>(ReadInt(L"DebugLevel", 3));
  s_Settings.DbgviewLog = ReadInt(L"DbgviewLog", 0) != 0;
  s_Settings.LogFile = ReadInt(L"LogFile", 1) != 0;
  s_Settings.LogFileSizeLimit = static_cast<int32_t>(ReadInt(L"LogFileSizeLimit", 10485760));

  wchar_t policy[254] = {};
  // The heartbeat copies the label under the deployment lock, and a
  // deployment replaces it, in memory and in this file, under the same lock.
  // The file is read under it too: a label read before a deployment and
  // assigned after it would put the old label back for the next heartbeat.
  std::lock_guard<std::mutex> deployment(g_DeploymentLock);
  GetPrivateProfileStringW(L"Policy", L"DeployedPolicy", L"", policy, 254, s_Settings.iniFile.c_str());
  s_Settings.DeployedPolicy = policy;
}

void InitZentSettings() {
  g_Engine.hDriver = nullptr;
  for (int i = 0; i < 4; ++i) {
    s_Settings.packageDriverVersion[i] = 0;
    s_Settings.installedDriverVersion[i] = 0;
  }
  s_Settings.driverRunning = false;

  OSVERSIONINFOEXW os = {};
  os.dwOSVersionInfoSize = sizeof(os);
  GetVersionExW(reinterpret_cast<OSVERSIONINFOW*>(&os));
  s_Settings.osMajor = os.dwMajorVersion;
  s_Settings.osMinor = os.dwMinorVersion;
  s_Settings.osBuild = os.dwBuildNumber;
  s_Settings.osServicePack = os.szCSDVersion;
  s_Settings.osSuiteMask = os.wSuiteMask;
  s_Settings.osProductType = os.wProductType;

  const wchar_t* folder = OsFolderName(os.dwMajorVersion, os.dwMinorVersion);
  if (100 * os.dwMajorVersion + os.dwMinorVersion < 501) ZENT_LOG(1, L"OS version is not valid\n");
  s_Settings.driverDirectory = s_Settings.workingDirectory + L"\\infsys\\" + folder;

  LoadZentSettings();

  // Either may stay null; their users check before calling.
  if (HMODULE dbghelp = LoadLibraryW(L"dbghelp.dll")) {
    s_pfnMiniDumpWriteDump =
        reinterpret_cast<PFN_MiniDumpWriteDump>(reinterpret_cast<void*>(GetProcAddress(dbghelp, "MiniDumpWriteDump")));
  }
  if (HMODULE ntdll = LoadLibraryW(L"Ntdll.dll")) {
    s_pfnNtQueryInformationProcess = reinterpret_cast<PFN_NtQueryInformationProcess>(
        reinterpret_cast<void*>(GetProcAddress(ntdll, "NtQueryInformationProcess")));
  }
  PrepareCrashDumpSecurity();
  SetUnhandledExceptionFilter(ZentCrashFilter);
}

void ReloadConfigSettings() {
  ZENT_LOG(3, L"Reload Config Settings.\n");
  bool wasOn = s_Settings.LogFile;
  LoadZentSettings();
  if (wasOn && !s_Settings.LogFile) {
    // Under the log's lock: a writer that saw the stream open finishes its
    // line before the stream goes.
    std::lock_guard<std::mutex> lock(s_DebugLog.logLock);
    if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) fclose(stream);
  } else if (!wasOn && s_Settings.LogFile) {
    InitLogFile();
  }
}

void DumpDefaultSetting() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  const char* arch = ProcessorArchitectureName(info.wProcessorArchitecture);
  ZENT_LOG(4, L"Platform: Windows;%d;%d;%d;%s;%S;%d;%d\n", s_Settings.osMajor, s_Settings.osMinor,
           s_Settings.osBuild, s_Settings.osServicePack, arch, s_Settings.osSuiteMask, s_Settings.osProductType);
  ZENT_LOG(5, L"working directory is %s\n", s_Settings.workingDirectory);
  ZENT_LOG(5, L"driver directory is %s\n", s_Settings.driverDirectory);
  ZENT_LOG(5, L"ini file is %s\n", s_Settings.iniFile);
  ZENT_LOG(5, L"log file is %s\n", s_Settings.logFile);
  ZENT_LOG(5, L"s_bTestMode is %s\n", s_Settings.s_bTestMode ? L"true" : L"false");
  ZENT_LOG(5, L"s_bConfigEncrypt is %s\n", s_Settings.s_bConfigEncrypt ? L"true" : L"false");
  ZENT_LOG(5, L"log level is %d\n", s_Settings.DebugLevel);
  ZENT_LOG(5, L"log file size limit is %d\n", s_Settings.LogFileSizeLimit);
}
