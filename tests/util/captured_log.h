// The debug log written into a temporary file of the test's own, so that a
// test reads back the lines a call wrote.
#pragma once

#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "log/debug_log.h"
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

// "Function: message" for each line of the debug log, without the time
// stamp, the thread id, the source line and the line end.
inline std::vector<std::string> LogMessages(const std::string& text) {
  static const std::regex line("[0-9:-]{23} \\[[ 0-9A-F]{4,8}\\]\\[ZTENG\\]\\[(\\w+):[0-9]+\\] (.*?)\r?");
  std::vector<std::string> messages;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::smatch match;
    std::string one = text.substr(start, end - start);
    messages.push_back(std::regex_match(one, match, line) ? match[1].str() + ": " + match[2].str() : "?" + one);
    start = end + 1;
  }
  return messages;
}
