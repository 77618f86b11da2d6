// Base64 fragments of a manager policy, decoded.
#include "util/base64_decode.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Base64Decode, DecodesOneLine) { EXPECT_EQ(Base64Decode("aGVsbG8="), "hello"); }

TEST(Base64Decode, DecodesALongLineWithoutLineFeed) {
  // 96 bytes "<rule/>..." as one 128-character line, longer than the 64 of a
  // wrapped line.
  std::string clear;
  for (int i = 0; i < 12; ++i) clear += "<rule/>\n";
  clear = clear.substr(0, 96);
  std::string encoded;
  for (int i = 0; i < 12; ++i) encoded += "PHJ1bGUvPgo8cnVsZS8+CjxydWxlLz4K";
  encoded = encoded.substr(0, 128);
  EXPECT_EQ(Base64Decode(encoded.c_str()), clear);
}

TEST(Base64Decode, DecodesALineOfMoreThanAKilobyte) {
  // 2400 bytes as one 3200-character line.
  std::string clear, encoded;
  for (int i = 0; i < 300; ++i) clear += "<rule/>\n";
  for (int i = 0; i < 100; ++i) encoded += "PHJ1bGUvPgo8cnVsZS8+CjxydWxlLz4K";
  EXPECT_EQ(Base64Decode(encoded.c_str()), clear);
}

TEST(Base64Decode, DecodesOneAndTwoPaddingCharacters) {
  EXPECT_EQ(Base64Decode("aGVsbA=="), "hell");
  EXPECT_EQ(Base64Decode("aGVsbG8h"), "hello!");
}

TEST(Base64Decode, DecodesLinesEndedByLineFeeds) {
  EXPECT_EQ(Base64Decode("PGNvblR5cGU+\nPC9jb25UeXBlPg==\n"), "<conType></conType>");
}

TEST(Base64Decode, SkipsLeadingWhiteSpace) { EXPECT_EQ(Base64Decode(" \t\r\n aGVsbG8="), "hello"); }

TEST(Base64Decode, KeepsZeroBytesOfTheDecodedData) {
  EXPECT_EQ(Base64Decode("AAEA/w=="), std::string("\x00\x01\x00\xff", 4));
}

TEST(Base64Decode, EmptyOrNullTextGivesNothing) {
  EXPECT_EQ(Base64Decode(""), "");
  EXPECT_EQ(Base64Decode("   "), "");
  EXPECT_EQ(Base64Decode(nullptr), "");
}

TEST(Base64Decode, InvalidTextGivesAShortOrEmptyResult) {
  EXPECT_LT(Base64Decode("aGVs*bG8=").size(), 5u);
  EXPECT_EQ(Base64Decode("!!!!"), "");
}

}  // namespace
