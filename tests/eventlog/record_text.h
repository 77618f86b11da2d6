// The text FormatRecord makes of a record built from named fields, one of
// its columns, and what one appender puts into an empty column buffer. No
// column holds ", ", so the text splits at each.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "eventlog/column_buffer.h"
#include "eventlog/format_record.h"
#include "record_builder.h"

inline std::string Formatted(const RecordFields& fields, const std::vector<uint8_t>& extra = {}) {
  auto copy = CopyOf(fields, extra);
  std::string text;
  uint64_t firstTime = 0, secondTime = 0;
  FormatRecord(*copy, text, firstTime, secondTime);
  return text;
}

// Column `number`, counted from 1 as the log's readers count.
inline std::string Column(const std::string& text, int number) {
  size_t start = 0;
  for (int n = 1; n < number; ++n) {
    size_t next = text.find(", ", start);
    if (next == std::string::npos) return "<no column " + std::to_string(number) + ">";
    start = next + 2;
  }
  size_t end = text.find(", ", start);
  return text.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

// What `appender` (AppendProtocolName, AppendTcpFlags, AppendIpFlags) puts
// into an empty buffer for the record.
template <class Appender>
std::string AppendedBy(Appender appender, const RecordFields& fields) {
  std::array<uint8_t, 192> block = BuildRecord(fields);
  ColumnBuffer buffer;
  appender(buffer, block.data());
  return std::string(buffer.text, buffer.length);
}
