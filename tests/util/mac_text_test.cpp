// The text form of MAC addresses.
#include "util/mac_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(MacText, LowerCaseHexPairsJoinedByColons) {
  std::string bytes("\x00\x0a\xff", 3);
  EXPECT_EQ(BytesToMacText(bytes), "00:0a:ff");
}

TEST(MacText, SixByteAddress) {
  std::string bytes("\x52\x54\x00\xAB\xCD\xEF", 6);
  EXPECT_EQ(BytesToMacText(bytes), "52:54:00:ab:cd:ef");
}

TEST(MacText, ConsumesTheBytes) {
  std::string bytes("\x01\x02", 2);
  BytesToMacText(bytes);
  EXPECT_EQ(bytes, "");
}

TEST(MacText, NoBytesGiveAnEmptyText) {
  std::string bytes;
  EXPECT_EQ(BytesToMacText(bytes), "");
}

}  // namespace
