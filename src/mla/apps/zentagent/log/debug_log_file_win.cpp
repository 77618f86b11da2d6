// The debug log's file: opening, rotation to zent_agent1.log ... 4.log, and
// the thread that flushes and rotates it.
#include "log/debug_log_file_win.h"

#include <windows.h>

#include <share.h>

#include <string>

#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "records/settings.h"

namespace {

// The live file is base + ".log", older ones base + "1.log" to base + "4.log".
std::wstring LogBase() {
  return s_Settings.workingDirectory + (s_Settings.isService ? L"\\zent_agent" : L"\\zent_install");
}

bool IsFile(const std::wstring& path) {
  DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

// Other processes may read the log while the agent writes it.
FILE* OpenLogStream(const std::wstring& path) { return _wfsopen(path.c_str(), L"a+", _SH_DENYWR); }

}  // namespace

void InitLogFile() {
  const std::wstring& path = s_Settings.logFile;
  if (IsFile(path)) ZENT_LOG(4, L"logfile(%s) already exists\n", path);
  FILE* stream = OpenLogStream(path);
  if (stream == nullptr) {
    ZENT_LOG(1, L"CreateFile for log file fails: error=%d\n", GetLastError());
    return;
  }
  std::lock_guard<std::mutex> lock(s_DebugLog.logLock);
  // The size restarts from the file's real size, so a restart keeps the
  // rotation point; the marker below does not count.
  fseek(stream, 0, SEEK_END);
  s_DebugLog.logSize = static_cast<int32_t>(ftell(stream));
  fseek(stream, 0, SEEK_CUR);
  fwrite("\nstart logging >>>\n", 1, 19, stream);
  s_DebugLog.stream = stream;
}

void RotateLogFile() {
  if (FILE* stream = s_DebugLog.stream.exchange(nullptr)) fclose(stream);
  std::wstring base = LogBase();
  for (int i = 4; i >= 0; --i) {
    std::wstring source = base + (i == 0 ? L"" : std::to_wstring(i)) + L".log";
    std::wstring target = base + std::to_wstring(i + 1) + L".log";
    if (!IsFile(source)) continue;
    // Failures are not looked at: a file that cannot move stays and is
    // appended to.
    if (i + 1 >= 5) {
      DeleteFileW(source.c_str());
    } else {
      MoveFileW(source.c_str(), target.c_str());
    }
  }
  s_DebugLog.logSize = 0;
  FILE* stream = OpenLogStream(s_Settings.logFile);
  if (stream == nullptr) {
    // The stream is null, so this line itself is lost.
    ZENT_LOG(1, L"CreateFile for log file fails: error=%d\n", GetLastError());
    return;
  }
  s_DebugLog.stream = stream;
}

DWORD WINAPI ProcessLogFileFn(LPVOID) {
  ZENT_LOG(2, L"ProcessLogFileFn: enters\n");
  HANDLE waits[] = {g_Engine.hStopEvent, g_Engine.hLogFileEvent};
  for (;;) {
    DWORD which = WaitForMultipleObjects(2, waits, FALSE, s_Settings.FlushDebugLogTimer);
    if (which == WAIT_OBJECT_0) break;
    if (which == WAIT_OBJECT_0 + 1) {
      {
        std::lock_guard<std::mutex> lock(s_DebugLog.logLock);
        RotateLogFile();
      }
      // Reset outside the lock: a limit reached in between waits for the
      // next line to ask again.
      ResetEvent(g_Engine.hLogFileEvent);
    } else if (which == WAIT_TIMEOUT) {
      std::lock_guard<std::mutex> lock(s_DebugLog.logLock);
      if (FILE* stream = s_DebugLog.stream.load()) fflush(stream);
    }
  }
  {
    std::lock_guard<std::mutex> lock(s_DebugLog.logLock);
    if (FILE* stream = s_DebugLog.stream.load()) fflush(stream);
  }
  ZENT_LOG(2, L"ProcessLogFileFn: Stop Event Signaled!\n");
  ZENT_LOG(2, L"ProcessLogFileFn: exits\n");
  return 0;
}
