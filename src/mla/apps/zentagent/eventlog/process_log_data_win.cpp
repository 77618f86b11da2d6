// ProcessLogData: one record out of the driver, formatted and cached.
#include "eventlog/event_files_win.h"
#include "eventlog/format_record.h"
#include "eventlog/process_log_data_win.h"
#include "log/debug_log.h"

int ProcessLogData(const void* record, const void* extra, uint32_t extraLength) {
  // 64 KB is too much for the pump's stack beside the formatter's buffer;
  // the pump is the one caller, so one copy serves every record.
  static LogRecordCopy copy;
  if (!CopyLogRecord(record, extra, extraLength, copy)) return 0;
  std::string text;
  uint64_t firstTime = 0, secondTime = 0;
  if (!FormatRecord(copy, text, firstTime, secondTime)) return 0;
  const uint8_t* block = copy.bytes;
  if ((ReadLe<uint16_t>(block, LogField::recordFlags) & kRecordNotLogged) != 0) {
    int32_t logId = ReadLe<int32_t>(block, LogField::logId);
    if (ReadLe<int16_t>(block, LogField::eventCode) >= 0) {
      ZENT_LOG(4, L"Ignoring log id=%d\n", logId);
    } else {
      ZENT_LOG(4, L"Ignoring payload log id=%d\n", logId);
    }
    return 0;
  }
  return CacheRecord(text, firstTime, secondTime, ReadLe<uint32_t>(block, LogField::trailerValue));
}
