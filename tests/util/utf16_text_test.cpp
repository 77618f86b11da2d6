// 16-bit text to UTF-8 by the agent's own converter, against bytes written
// out by hand.
#include "util/utf16_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Convert(const std::u16string& units) { return Utf16ToUtf8(units.data(), units.size()); }

TEST(Utf16ToUtf8, EmptyGivesEmpty) { EXPECT_EQ(Utf16ToUtf8(u"", 0), ""); }

TEST(Utf16ToUtf8, AsciiIsOneByteEach) { EXPECT_EQ(Convert(u"AB"), "AB"); }

TEST(Utf16ToUtf8, TwoAndThreeByteForms) {
  EXPECT_EQ(Convert(u"\u00fc\u0141"), "\xC3\xBC\xC5\x81");
  EXPECT_EQ(Convert(u"\u6771\uffff"), "\xE6\x9D\xB1\xEF\xBF\xBF");
  EXPECT_EQ(Convert(u"\u07ff\u0800"), "\xDF\xBF\xE0\xA0\x80");
}

TEST(Utf16ToUtf8, SurrogatePairIsFourBytes) {
  // U+1F600 is D83D DE00; U+10FFFF is DBFF DFFF.
  EXPECT_EQ(Convert(u"\xD83D\xDE00"), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Convert(u"\xDBFF\xDFFF"), "\xF4\x8F\xBF\xBF");
}

TEST(Utf16ToUtf8, ZeroUnitsStayAsZeroBytes) {
  const char16_t units[] = {u'a', 0, u'b', 0, 0};
  EXPECT_EQ(Utf16ToUtf8(units, 5), std::string("a\0b\0\0", 5));
}

TEST(Utf16ToUtf8, LoneHighSurrogateBecomesReplacementCharacter) {
  EXPECT_EQ(Convert(u"a\xD800"), "a\xEF\xBF\xBD");
  EXPECT_EQ(Convert(u"\xD800z"), "\xEF\xBF\xBDz");
}

TEST(Utf16ToUtf8, LoneLowSurrogateBecomesReplacementCharacter) {
  EXPECT_EQ(Convert(u"\xDC00"), "\xEF\xBF\xBD");
}

TEST(Utf16ToUtf8, ReversedPairIsTwoReplacementCharacters) {
  EXPECT_EQ(Convert(u"\xDC00\xD800"), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Utf16ToUtf8, HighSurrogateBeforeZeroIsReplacedAndTheZeroKept) {
  const char16_t units[] = {0xD800, 0, 0xDC00};
  EXPECT_EQ(Utf16ToUtf8(units, 3), std::string("\xEF\xBF\xBD\0\xEF\xBF\xBD", 7));
}

TEST(Utf16ToUtf8, TwoHighSurrogatesThenLowPairTheSecond) {
  EXPECT_EQ(Convert(u"\xD800\xD83D\xDE00"), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

}  // namespace
