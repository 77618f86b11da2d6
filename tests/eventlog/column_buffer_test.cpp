// The fixed 1024-byte buffer of columns 1 to 24: every appender stops at its
// end, and what does not fit is cut.
#include "eventlog/column_buffer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Text(const ColumnBuffer& buffer) { return std::string(buffer.text, buffer.length); }

TEST(ColumnBufferBound, TextIsCutAtTheBuffersEnd) {
  ColumnBuffer buffer;
  std::string nearlyFull(1020, 'x');
  AppendText(buffer, nearlyFull.data(), nearlyFull.size());
  AppendLiteral(buffer, "ABCDEFGH");
  EXPECT_EQ(buffer.length, 1024u);
  EXPECT_EQ(Text(buffer), nearlyFull + "ABCD");
}

TEST(ColumnBufferBound, NothingMoreGoesInOnceFull) {
  ColumnBuffer buffer;
  std::string full(1024, 'y');
  AppendText(buffer, full.data(), full.size());
  AppendSeparator(buffer);
  AppendUnsigned(buffer, 7);
  AppendSigned(buffer, -7);
  AppendLowerHex(buffer, 0xab);
  const uint8_t bytes[] = {0x12};
  AppendHexBytes(buffer, bytes, 1, true);
  EXPECT_EQ(buffer.length, 1024u);
  EXPECT_EQ(Text(buffer), full);
}

TEST(ColumnBufferBound, NumbersAndBytesAreCutMidway) {
  ColumnBuffer buffer;
  std::string nearlyFull(1021, 'z');
  AppendText(buffer, nearlyFull.data(), nearlyFull.size());
  AppendUnsigned(buffer, 4294967295u);
  EXPECT_EQ(Text(buffer), nearlyFull + "429");

  ColumnBuffer bytesBuffer;
  AppendText(bytesBuffer, nearlyFull.data(), nearlyFull.size());
  const uint8_t bytes[] = {0xAB, 0xCD};
  AppendHexBytes(bytesBuffer, bytes, 2, true);
  EXPECT_EQ(Text(bytesBuffer), nearlyFull + "AB ");
}

TEST(ColumnBufferNumbers, DecimalAndHexLikeTheirPrintfConversions) {
  ColumnBuffer buffer;
  AppendUnsigned(buffer, 0);
  AppendSeparator(buffer);
  AppendUnsigned(buffer, 4294967295u);
  AppendSeparator(buffer);
  AppendSigned(buffer, 0);
  AppendSeparator(buffer);
  AppendSigned(buffer, -2147483647 - 1);
  AppendSeparator(buffer);
  AppendSigned(buffer, 2147483647);
  AppendSeparator(buffer);
  AppendLowerHex(buffer, 0);
  AppendSeparator(buffer);
  AppendLowerHex(buffer, 0xffff);
  AppendSeparator(buffer);
  AppendLowerHex(buffer, 0x0db8);
  EXPECT_EQ(Text(buffer), "0, 4294967295, 0, -2147483648, 2147483647, 0, ffff, db8");
}

TEST(ColumnBufferBytes, WithAndWithoutBlanks) {
  const uint8_t bytes[] = {0x00, 0x0F, 0xF0, 0xFF};
  ColumnBuffer buffer;
  AppendHexBytes(buffer, bytes, 4, true);
  AppendSeparator(buffer);
  AppendHexBytes(buffer, bytes, 4, false);
  AppendSeparator(buffer);
  AppendHexBytes(buffer, bytes, 0, true);
  EXPECT_EQ(Text(buffer), "00 0F F0 FF, 000FF0FF, ");
}

}  // namespace
