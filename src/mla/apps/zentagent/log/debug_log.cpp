#include "log/debug_log.h"

#include <cstring>

DebugLogState s_DebugLog;

std::string FormatLogPrefix(uint32_t threadId, const char* function, int line) {
  std::string prefix;
  zent::AppendFormat(prefix, L"[%4X][ZTENG][%S:%d] ", threadId, function, line);
  return prefix;
}

std::string FormatLogStamp(const LogTime& t) {
  std::string stamp;
  zent::AppendFormat(stamp, L"%04d:%02d:%02d-%02d:%02d:%02d:%03d ", t.year, t.month, t.day, t.hour, t.minute,
                     t.second, t.millisecond);
  return stamp;
}

void WriteDebugLogText(std::string text) {
  // The wide message is turned into 8-bit text by a conversion that ends at
  // the first zero unit, so a "%c" of 0 ends the line there.
  text.resize(std::strlen(text.c_str()));

  if (s_Settings.DbgviewLog) LogDebuggerOutput(text.c_str());

  // Tested before the lock: a close by a settings reload can race with this,
  // as the design accepts.
  if (s_DebugLog.stream.load() == nullptr) return;
  std::string stamp = FormatLogStamp(LogLocalTime());
  std::lock_guard<std::mutex> lock(s_DebugLog.logLock);
  FILE* stream = s_DebugLog.stream.load();
  if (stream == nullptr) return;
  fwrite(stamp.data(), 1, stamp.size(), stream);
  s_DebugLog.logSize += static_cast<int32_t>(stamp.size());
  size_t written = fwrite(text.data(), 1, text.size(), stream);
  if (written < text.size()) {
    LogDebuggerOutput("WriteFile to Logfile fails!!!\n");
    fclose(stream);
    s_DebugLog.stream = nullptr;
  }
  s_DebugLog.logSize += static_cast<int32_t>(written);
  if (s_Settings.LogFileSizeLimit != 0 && s_DebugLog.logSize >= s_Settings.LogFileSizeLimit) {
    LogRequestRotation();
  }
}
