// The debug log written into a temporary file of the test's own, so that a
// test reads back the lines a call wrote.
#pragma once

#include <cstdio>
#include <string>

#include "service/debug_log.h"
#include "support/scratch_file.h"

class CapturedLog {
 public:
  explicit CapturedLog(int debugLevel) {
    s_Settings = ZentSettings{};
    s_Settings.DebugLevel = debugLevel;
    s_DebugLog.stream = OpenScratchFile();
    s_DebugLog.logSize = 0;
  }
  ~CapturedLog() {
    if (s_DebugLog.stream != nullptr) std::fclose(s_DebugLog.stream);
    s_DebugLog.stream = nullptr;
    s_Settings = ZentSettings{};
  }
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;

  std::string Text() const {
    FILE* file = s_DebugLog.stream;
    std::string text;
    if (file == nullptr) return text;
    std::fflush(file);
    std::rewind(file);
    char buffer[4096];
    size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, count);
    return text;
  }
};
