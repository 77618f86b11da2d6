// The event record's copy, its formatting and both lines over any bytes: no
// record, extra or data may make them crash or read out of bounds, and the
// text always has its 26 columns.
//
// Input: 192 record bytes (zero-padded when fewer came); a control byte
// (bit 0: no extra pointer, bit 1: no data pointer, bit 2: a length beyond
// the copy's room); a 16-bit little-endian extra length, cut to what is
// left; the extra bytes; the rest is the data, zero-padded to dataLength as
// the driver's stand-in hands it, at the address patched into bytes 184-191.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "eventlog/cached_record.h"
#include "eventlog/format_record.h"
#include "eventlog/log_record.h"
#include "records/settings.h"

namespace {

size_t CountSeparators(const std::string& text) {
  size_t count = 0;
  for (size_t at = text.find(", "); at != std::string::npos; at = text.find(", ", at + 2)) ++count;
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size) {
  // The messages are formatted, and dropped without a log file.
  s_Settings.DebugLevel = 1;
  s_Settings.DbgviewLog = false;

  uint8_t record[kLogRecordSize] = {};
  if (size != 0) std::memcpy(record, input, std::min<size_t>(size, kLogRecordSize));
  size_t at = std::min<size_t>(size, kLogRecordSize);
  uint8_t control = at < size ? input[at++] : 0;
  uint32_t extraLength = 0;
  if (at + 2 <= size) {
    extraLength = static_cast<uint32_t>(input[at] | input[at + 1] << 8);
    at += 2;
  }
  extraLength = static_cast<uint32_t>(std::min<size_t>(extraLength, size - at));
  const uint8_t* extra = input + at;
  at += extraLength;
  // Refused before a byte of extra is read.
  if (control & 4) extraLength += kMaxExtraLength + 1;

  uint16_t dataLength = ReadLe<uint16_t>(record, LogField::dataLength);
  std::vector<uint8_t> data(dataLength);
  size_t dataCame = std::min<size_t>(dataLength, size - at);
  if (dataCame != 0) std::memcpy(data.data(), input + at, dataCame);
  const uint8_t* dataPointer = (control & 2) || data.empty() ? nullptr : data.data();
  std::memcpy(record + LogField::dataPointer, &dataPointer, sizeof dataPointer);

  auto copy = std::make_unique<LogRecordCopy>();
  if (!CopyLogRecord(record, (control & 1) ? nullptr : extra, extraLength, *copy)) return 0;
  CachedRecord cached;
  FormatRecord(*copy, cached.text, cached.firstTime, cached.secondTime);
  if (CountSeparators(cached.text) != 25) __builtin_trap();
  cached.trailerValue = ReadLe<uint32_t>(record, LogField::trailerValue);
  std::string single = SingleRecordLine(cached);
  std::string main = MainLogLine(cached);
  if (main.size() < single.size() || main.compare(main.size() - single.size(), single.size(), single) != 0)
    __builtin_trap();
  return 0;
}
