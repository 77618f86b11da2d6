// One driver record to the text of a log line: 26 columns separated by ", ".
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "eventlog/log_record.h"

// text gets the columns; the times are microseconds since 1970, the first
// and the second stamp of the record. Returns true.
bool FormatRecord(const LogRecordCopy& copy, std::string& text, uint64_t& firstTime, uint64_t& secondTime);

// Two upper-case hex digits per byte, no separator.
void AppendHex(const uint8_t* bytes, size_t count, std::string& text);
