#include <ctime>
#include <string>

#include "eventlog/cached_record.h"

// The main log is read by people on this machine: its stamp is local time.
std::string MainLogPrefix(uint64_t microseconds) {
  std::time_t seconds = static_cast<std::time_t>(microseconds / 1000000);
  std::tm local{};
#ifdef _WIN32
  bool converted = localtime_s(&local, &seconds) == 0;
#else
  bool converted = localtime_r(&seconds, &local) != nullptr;
#endif
  char prefix[64];
  size_t length = converted ? std::strftime(prefix, sizeof prefix, "%Y/%m/%d, %H:%M:%S, ", &local) : 0;
  return std::string(prefix, length);
}

std::string SingleRecordLine(const CachedRecord& record) {
  std::string line;
  line.reserve(record.text.size() + 64);
  line += record.text;
  line += ", ";
  line += std::to_string(record.trailerValue);
  line += ", ";
  // The second stamp comes before the first.
  line += std::to_string(record.secondTime);
  line += ", ";
  line += std::to_string(record.firstTime);
  line += "\r\n";
  return line;
}

std::string MainLogLine(const CachedRecord& record) {
  return MainLogPrefix(record.firstTime) + SingleRecordLine(record);
}
