#include "service/init_service_win.h"

#include <windows.h>

#include <cstring>
#include <string>

#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "service/settings_win.h"
#include "util/brvn_win.h"
#include "util/file_version_win.h"

bool InitService(const char* lpCmdLine) {
  wchar_t modulePath[MAX_PATH] = {};
  if (GetModuleFileNameW(nullptr, modulePath, MAX_PATH) == 0) {
    ZENT_LOG(1, L"Failed to get current bin path: %d\n", GetLastError());
    return false;
  }
  // The service writes one debug log, every other run another.
  s_Settings.isService = std::strcmp(lpCmdLine, "-service") == 0;
  std::wstring path = modulePath;
  s_Settings.workingDirectory = path.substr(0, path.find_last_of(L'\\'));

  // Without the suite's framework the program does not run at all.
  if (!UtilBRVN::Init()) {
    ZENT_LOG(1, L"Failed to get BRVN installed path.\n");
    return false;
  }
  InitZentSettings();
  s_Settings.logFile =
      s_Settings.workingDirectory + (s_Settings.isService ? L"\\zent_agent" : L"\\zent_install") + L".log";

  g_Engine.hLogFileEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (g_Engine.hLogFileEvent == nullptr) {
    ZENT_LOG(1, L"CreateEvent for logfile failed\n");
  } else if (s_Settings.LogFile) {
    InitLogFile();
  }
  DumpDefaultSetting();

  uint16_t version[4];
  if (GetFileVersion(s_Settings.workingDirectory + L"\\" + L"ZentAgent" + L".exe", version)) {
    std::string text;
    zent::AppendFormat(text, "%d.%d.%d.%d", version[0], version[1], version[2], version[3]);
    ZENT_LOG(3, L"zent agent version: %S\n", text);
  } else {
    ZENT_LOG(1, L"Unalbe to get zent agent version.\n");
  }
  ZENT_LOG(4, L"InitService %S\n", lpCmdLine);
  return true;
}

void DeinitService(const char* lpCmdLine) {
  ZENT_LOG(4, L"DeinitService %S\n", lpCmdLine);
  {
    std::lock_guard<std::mutex> lock(s_DebugLog.logLock);
    if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) fclose(stream);
  }
  if (g_Engine.hLogFileEvent != nullptr) CloseHandle(g_Engine.hLogFileEvent);
  g_Engine.hLogFileEvent = nullptr;
}
