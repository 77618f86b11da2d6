// The debug log writer. Every message of the agent goes through ZENT_LOG:
//
//   ZENT_LOG(2, L"ProcessLogFileFn: enters\n");
//   ZENT_LOG(1, L"WriteFile fails: error=%d\n", GetLastError());
//
// The level is compared with DebugLevel before any argument is evaluated, so
// a disabled message costs one comparison. The writer puts the prefix
// "[%4X][ZTENG][%s:%d] " (thread id, function, line) before the message, and
// in the file a time stamp before that; the message carries its own line end.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

#include "log/format.h"
#include "records/settings.h"

#define ZENT_LOG(level, format, ...)                                                 \
  do {                                                                               \
    if (s_Settings.DebugLevel >= (level))                                            \
      DebugLogWrite(__func__, __LINE__, format __VA_OPT__(, ) __VA_ARGS__);          \
  } while (0)

// For a step of a routine that the log's readers know by one name, kept in a
// function of its own for reading's sake: the line carries the routine's name.
#define ZENT_LOG_AS(function, level, format, ...)                                    \
  do {                                                                               \
    if (s_Settings.DebugLevel >= (level))                                            \
      DebugLogWrite(function, __LINE__, format __VA_OPT__(, ) __VA_ARGS__);          \
  } while (0)

// Local time as the log's time stamp shows it.
struct LogTime {
  int year, month, day, hour, minute, second, millisecond;
};

// The open log file and its running size. logLock guards the writes, the
// size and rotation; the stream is tested before the lock is taken, and a
// settings reload may close it outside the lock.
struct DebugLogState {
  std::mutex logLock;
  std::atomic<FILE*> stream{nullptr};
  int32_t logSize = 0;
};
extern DebugLogState s_DebugLog;

// "[%4X][ZTENG][%s:%d] " for the calling thread.
std::string FormatLogPrefix(uint32_t threadId, const char* function, int line);
// "%04d:%02d:%02d-%02d:%02d:%02d:%03d ".
std::string FormatLogStamp(const LogTime& t);
// Hands one formatted line (prefix and message) to the debugger output and
// the log file.
void WriteDebugLogText(std::string text);

// Provided by the platform: the calling thread's id, local time, the
// debugger output, and the request that the flushing thread rotate the file.
uint32_t LogCurrentThreadId();
LogTime LogLocalTime();
void LogDebuggerOutput(const char* text);
void LogRequestRotation();

// The log file's life, in the Windows build: open (or reopen at its end),
// and rotate with the lock held. ProcessLogFileFn flushes and rotates.
void InitLogFile();
void RotateLogFile();

template <class... Args>
void DebugLogWrite(const char* function, int line, zent::WideFormat<Args...> format, const Args&... args) {
  std::string text = FormatLogPrefix(LogCurrentThreadId(), function, line);
  zent::AppendFormat<Args...>(text, format, args...);
  WriteDebugLogText(std::move(text));
}
