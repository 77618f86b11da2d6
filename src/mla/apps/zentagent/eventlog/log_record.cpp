#include "eventlog/log_record.h"

#include "log/debug_log.h"

bool CopyLogRecord(const void* record, const void* extra, uint32_t extraLength, LogRecordCopy& copy) {
  const auto* block = static_cast<const uint8_t*>(record);
  // The driver may hand a length with no bytes behind it: nothing came.
  if (extra == nullptr) extraLength = 0;
  // ProcessLogData's buffer has no room for more; the driver's own limit is
  // not trusted.
  if (extraLength > kMaxExtraLength) {
    ZENT_LOG(1, L"Refusing log id=%d: %u extra bytes\n", ReadLe<int32_t>(block, LogField::logId), extraLength);
    return false;
  }
  std::memcpy(copy.bytes, block, kLogRecordSize);
  if (extraLength != 0) std::memcpy(copy.bytes + kLogRecordSize, extra, extraLength);
  copy.extraLength = extraLength;
  return true;
}
