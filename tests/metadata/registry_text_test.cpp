// How the registry families write values, names and identifiers, against
// texts written out by hand.
#include "metadata/registry_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "util/utf16_text.h"

namespace {

using Strings = std::vector<std::string>;

// REG_BINARY data as utilRegKey's text read hands it over: the bytes taken as
// little-endian UTF-16 (an odd last byte lost), converted with their zeros,
// one closing zero byte dropped.
std::string BinaryAsRead(const std::string& bytes) {
  std::u16string units;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    units += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                   (static_cast<unsigned char>(bytes[i + 1]) << 8));
  }
  std::string text = Utf16ToUtf8(units.data(), units.size());
  if (!text.empty() && text.back() == '\0') text.pop_back();
  return text;
}

TEST(RegistryValueIdentifier, KeyPathBackslashValueName) {
  EXPECT_EQ(RegistryValueIdentifier("HKLM\\SOFTWARE\\X", "Path"), "HKLM\\SOFTWARE\\X\\Path");
}

TEST(RegistryValueIdentifier, DefaultValueKeepsTheAt) {
  EXPECT_EQ(RegistryValueIdentifier("HKLM\\SOFTWARE\\X", "@"), "HKLM\\SOFTWARE\\X\\@");
}

TEST(RegistryValueIdentifier, EmptyValueNameEndsInBackslash) {
  EXPECT_EQ(RegistryValueIdentifier("HKLM\\SOFTWARE\\X", ""), "HKLM\\SOFTWARE\\X\\");
}

TEST(RegistryValueIdentifier, TrailingBackslashOfTheKeyDoubles) {
  EXPECT_EQ(RegistryValueIdentifier("hklm\\SOFTWARE\\X\\", "v"), "hklm\\SOFTWARE\\X\\\\v");
}

TEST(RegistryValueNameToRead, AtIsTheEmptyName) {
  EXPECT_EQ(RegistryValueNameToRead("@"), "");
  EXPECT_EQ(RegistryValueNameToRead(""), "");
}

TEST(RegistryValueNameToRead, OtherNamesStandAsTheyAre) {
  EXPECT_EQ(RegistryValueNameToRead("@@"), "@@");
  EXPECT_EQ(RegistryValueNameToRead(" @"), " @");
  EXPECT_EQ(RegistryValueNameToRead("a"), "a");
}

TEST(RegistryStringText, StopsAtAnInnerZero) {
  EXPECT_EQ(RegistryStringText(std::string("ab\0cd", 5)), "ab");
  EXPECT_EQ(RegistryStringText(""), "");
  EXPECT_EQ(RegistryStringText("Z\xC3\xBCrich"), "Z\xC3\xBCrich");
}

TEST(RegistryBinaryText, EmptyDataIsEmptyText) { EXPECT_EQ(RegistryBinaryText(""), ""); }

TEST(RegistryBinaryText, EveryByteHasItsLowerCaseRow) {
  std::string all;
  for (int b = 0; b < 256; ++b) all += static_cast<char>(b);
  std::string hex = RegistryBinaryText(all);
  ASSERT_EQ(hex.size(), 512u);
  EXPECT_EQ(hex.substr(0, 8), "00010203");
  EXPECT_EQ(hex.substr(2 * 0x7e, 8), "7e7f8081");
  EXPECT_EQ(hex.substr(2 * 0x9f, 4), "9fa0");
  EXPECT_EQ(hex.substr(2 * 0xfc, 8), "fcfdfeff");
}

TEST(RegistryBinaryText, DataOfAZeroBIsTheirUtf8) {
  // 41 00 42 00: "AB" as UTF-16, no closing zero.
  EXPECT_EQ(RegistryBinaryText(BinaryAsRead(std::string("A\0B\0", 4))), "4142");
}

TEST(RegistryBinaryText, OddLastByteIsLost) {
  EXPECT_EQ(RegistryBinaryText(BinaryAsRead(std::string("A\0B\0\x7f", 5))), "4142");
  EXPECT_EQ(RegistryBinaryText(BinaryAsRead(std::string("\x7f", 1))), "");
}

TEST(RegistryBinaryText, InnerZeroUnitsStayAndOneClosingZeroGoes) {
  // 41 00 00 00 42 00 00 00 00 00: "A", zero, "B", zero, zero.
  EXPECT_EQ(RegistryBinaryText(BinaryAsRead(std::string("A\0\0\0B\0\0\0\0\0", 10))), "41004200");
}

TEST(RegistryBinaryText, NonAsciiDataIsTheHexOfItsUtf8) {
  // 00 ff is U+FF00 (ef bc 80); e9 00 is U+00E9 (c3 a9); 01 d8 a lone
  // surrogate (ef bf bd); 3d d8 00 de the pair of U+1F600 (f0 9f 98 80).
  EXPECT_EQ(RegistryBinaryText(BinaryAsRead(std::string("\x00\xff\xe9\x00\x01\xd8\x3d\xd8\x00\xde", 10))),
            "efbc80c3a9efbfbdf09f9880");
}

TEST(RegistryBinaryText, OddLengthWithZerosAndHighBytes) {
  // 10 00 | 00 00 | 80 00 | ff fe | 00 00 | 7f: U+0010, zero, U+0080, U+FEFF,
  // zero (the closing one, dropped), and the odd 7f lost.
  EXPECT_EQ(RegistryBinaryText(BinaryAsRead(std::string("\x10\x00\x00\x00\x80\x00\xff\xfe\x00\x00\x7f", 11))),
            "1000c280efbbbf");
}

TEST(RegistryDwordText, SignedDecimal) {
  EXPECT_EQ(RegistryDwordText(0), "0");
  EXPECT_EQ(RegistryDwordText(42), "42");
  EXPECT_EQ(RegistryDwordText(0x7FFFFFFF), "2147483647");
  EXPECT_EQ(RegistryDwordText(0x80000000), "-2147483648");
  EXPECT_EQ(RegistryDwordText(0xFFFFFFFF), "-1");
}

TEST(RegistryMultiStrings, EachStringInOrder) {
  EXPECT_EQ(RegistryMultiStrings(std::string("a\0b\0", 4)), (Strings{"a", "b"}));
}

TEST(RegistryMultiStrings, EndsAtTheFirstEmptyString) {
  EXPECT_EQ(RegistryMultiStrings(std::string("a\0\0b\0", 5)), (Strings{"a"}));
}

TEST(RegistryMultiStrings, EndsAtTheEndOfTheData) {
  EXPECT_EQ(RegistryMultiStrings(std::string("a\0bc", 4)), (Strings{"a", "bc"}));
}

TEST(RegistryMultiStrings, EmptyDataAndLeadingEmptyStringGiveNone) {
  EXPECT_EQ(RegistryMultiStrings(""), Strings{});
  EXPECT_EQ(RegistryMultiStrings(std::string("\0a\0", 3)), Strings{});
}

TEST(RegistryMultiStrings, StringsKeepTheirBytes) {
  EXPECT_EQ(RegistryMultiStrings(std::string("\xC5\x81\xC3\xB3" "d\xC5\xBA\0 x \0", 12)),
            (Strings{"\xC5\x81\xC3\xB3" "d\xC5\xBA", " x "}));
}

TEST(RegistryNameLists, SubkeysQuotedAndCommaJoined) {
  std::string list;
  AppendRegistryKeyName(list, "Alpha");
  EXPECT_EQ(list, "\"Alpha\"");
  AppendRegistryKeyName(list, "Beta");
  EXPECT_EQ(list, "\"Alpha\",\"Beta\"");
}

TEST(RegistryNameLists, QuotesAndCommasInNamesStayBare) {
  std::string list;
  AppendRegistryKeyName(list, "a\"b");
  AppendRegistryKeyName(list, "c,d");
  EXPECT_EQ(list, "\"a\"b\",\"c,d\"");
}

TEST(RegistryNameLists, EmptyValueNameIsWrittenAt) {
  std::string list;
  AppendRegistryValueName(list, "");
  AppendRegistryValueName(list, "x");
  EXPECT_EQ(list, "\"@\",\"x\"");
}

TEST(RegistryNameLists, ValueNamedAtIsAlsoAt) {
  std::string list;
  AppendRegistryValueName(list, "@");
  EXPECT_EQ(list, "\"@\"");
}

}  // namespace
