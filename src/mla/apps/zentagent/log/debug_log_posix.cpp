// The debug log's platform calls for the native build of the portable core,
// where its tests run under the sanitizers.
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <ctime>

#include "log/debug_log.h"

std::atomic<int> s_LogRotationRequests{0};

uint32_t LogCurrentThreadId() { return static_cast<uint32_t>(syscall(SYS_gettid)); }

LogTime LogLocalTime() {
  timeval tv;
  gettimeofday(&tv, nullptr);
  tm local;
  localtime_r(&tv.tv_sec, &local);
  return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
          local.tm_min,         local.tm_sec,     static_cast<int>(tv.tv_usec / 1000)};
}

// Natively the debugger's output is standard error.
void LogDebuggerOutput(const char* text) { fputs(text, stderr); }

void LogRequestRotation() { s_LogRotationRequests.fetch_add(1); }
