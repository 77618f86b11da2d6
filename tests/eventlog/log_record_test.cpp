// CopyLogRecord: the block and the extra bytes behind it, within the 65536
// bytes of ProcessLogData's buffer.
#include "eventlog/log_record.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "record_builder.h"
#include "util/captured_log.h"

namespace {

std::array<uint8_t, 192> RecordWithId(int32_t logId) {
  RecordFields f;
  f.logId = logId;
  f.timeSeconds = 0x01020304;
  f.trailerValue = 0xA0B0C0D0;
  return BuildRecord(f);
}

std::vector<uint8_t> Pattern(size_t size) {
  std::vector<uint8_t> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 13 + 5);
  return bytes;
}

TEST(CopyLogRecordBound, LargestExtraIsCopiedBehindTheBlock) {
  auto record = RecordWithId(1);
  std::vector<uint8_t> extra = Pattern(65344);
  auto copy = std::make_unique<LogRecordCopy>();
  CapturedLog log(6);
  ASSERT_TRUE(CopyLogRecord(record.data(), extra.data(), 65344, *copy));
  EXPECT_EQ(copy->extraLength, 65344u);
  EXPECT_EQ(std::vector<uint8_t>(copy->bytes, copy->bytes + 192), std::vector<uint8_t>(record.begin(), record.end()));
  EXPECT_EQ(std::vector<uint8_t>(copy->bytes + 192, copy->bytes + 65536), extra);
  EXPECT_EQ(log.Text(), "");
}

TEST(CopyLogRecordBound, OneByteMoreIsRefusedAndLogged) {
  auto record = RecordWithId(77);
  std::vector<uint8_t> extra = Pattern(65345);
  auto copy = std::make_unique<LogRecordCopy>();
  CapturedLog log(1);
  EXPECT_FALSE(CopyLogRecord(record.data(), extra.data(), 65345, *copy));
  EXPECT_EQ(LogMessages(log.Text()), std::vector<std::string>{"CopyLogRecord: Refusing log id=77: 65345 extra bytes"});
}

TEST(CopyLogRecordBound, LargestLengthIsRefusedWithoutReadingIt) {
  auto record = RecordWithId(-1);
  uint8_t oneByte = 0;
  auto copy = std::make_unique<LogRecordCopy>();
  CapturedLog log(1);
  EXPECT_FALSE(CopyLogRecord(record.data(), &oneByte, 4294967295u, *copy));
  EXPECT_EQ(LogMessages(log.Text()),
            std::vector<std::string>{"CopyLogRecord: Refusing log id=-1: 4294967295 extra bytes"});
}

TEST(CopyLogRecordExtra, NullExtraBringsNoBytes) {
  auto record = RecordWithId(3);
  auto copy = std::make_unique<LogRecordCopy>();
  copy->extraLength = 99;
  CapturedLog log(6);
  ASSERT_TRUE(CopyLogRecord(record.data(), nullptr, 10, *copy));
  EXPECT_EQ(copy->extraLength, 0u);
  EXPECT_EQ(std::vector<uint8_t>(copy->bytes, copy->bytes + 192), std::vector<uint8_t>(record.begin(), record.end()));
  // A null pointer means none, whatever length came with it.
  ASSERT_TRUE(CopyLogRecord(record.data(), nullptr, 70000, *copy));
  EXPECT_EQ(copy->extraLength, 0u);
  EXPECT_EQ(log.Text(), "");
}

TEST(CopyLogRecordExtra, NoExtraAndASmallOne) {
  auto record = RecordWithId(4);
  const uint8_t extra[] = {0xDE, 0xAD};
  auto copy = std::make_unique<LogRecordCopy>();
  ASSERT_TRUE(CopyLogRecord(record.data(), extra, 0, *copy));
  EXPECT_EQ(copy->extraLength, 0u);
  ASSERT_TRUE(CopyLogRecord(record.data(), extra, 2, *copy));
  EXPECT_EQ(copy->extraLength, 2u);
  EXPECT_EQ(copy->bytes[192], 0xDE);
  EXPECT_EQ(copy->bytes[193], 0xAD);
}

}  // namespace
