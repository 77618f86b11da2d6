// WriteRecord: one cached record to its single-record file, then to the
// main log. Only the single-record file decides whether it leaves the cache.
#include "eventlog/event_files_win.h"
#include "log/debug_log.h"

int WriteRecord(const CachedRecord& record) {
  std::string line = SingleRecordLine(record);
  if (!InitializeVXLogFile()) return 0;
  if (WriteRawData(static_cast<uint32_t>(line.size()), line.data(), hVxLog) != 0) {
    // A write that went through on a retry still fails the record, and its
    // file is left behind; the handle must not stay open with it.
    CloseLog(hVxLog);
    return 0;
  }
  CloseLog(hVxLog);
  if (InitializeZentmpnpLogFile()) {
    // The same line, stamped: formatted once for both files.
    std::string mainLine = MainLogPrefix(record.firstTime) + line;
    if (WriteRawData(static_cast<uint32_t>(mainLine.size()), mainLine.data(), hMpnpLog) != 0) {
      ZENT_LOG(1, L"Write mpnp log fail\n");
    }
  }
  ZENT_LOG(4, L"WriteRawData to fw.dpi log: %S\n", line);
  return 1;
}
