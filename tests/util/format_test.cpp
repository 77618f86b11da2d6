// Expectations follow the Windows C runtime's meanings of each conversion,
// written by hand; the result is the 8-bit text a log line holds.
#include "log/format.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

namespace {

template <class... Args>
std::string W(zent::WideFormat<Args...> fmt, const Args&... args) {
  std::string out;
  zent::AppendFormat<Args...>(out, fmt, args...);
  return out;
}

template <class... Args>
std::string N(zent::NarrowFormat<Args...> fmt, const Args&... args) {
  std::string out;
  zent::AppendFormat<Args...>(out, fmt, args...);
  return out;
}

TEST(WideFormatStrings, LowerSTakesAWideString) {
  EXPECT_EQ(W(L"path=%s!", L"C:\\Program Files\\Zent"), "path=C:\\Program Files\\Zent!");
}

TEST(WideFormatStrings, UpperSTakesAnEightBitString) {
  EXPECT_EQ(W(L"version: %S\n", "1.0.2.15"), "version: 1.0.2.15\n");
}

TEST(WideFormatStrings, HsAndLsNameTheirWidthWhateverTheFormat) {
  EXPECT_EQ(W(L"%hs|%ls|%ws", "narrow", L"wide", L"wide too"), "narrow|wide|wide too");
  EXPECT_EQ(N("%hs|%ls|%ws", "narrow", L"wide", L"wide too"), "narrow|wide|wide too");
}

TEST(NarrowFormatStrings, LowerSAndUpperSSwapInAnEightBitFormat) {
  EXPECT_EQ(N("%s and %S", "bytes", L"units"), "bytes and units");
}

TEST(WideFormatStrings, Utf8BytesPassedToUpperSComeOutUnchanged) {
  // "Zürich 東京" in UTF-8: each byte becomes one unit and then that byte again.
  const char utf8[] = "Z\xC3\xBCrich \xE6\x9D\xB1\xE4\xBA\xAC";
  EXPECT_EQ(W(L"[%S]", utf8), "[Z\xC3\xBCrich \xE6\x9D\xB1\xE4\xBA\xAC]");
}

TEST(WideFormatStrings, WideLatin1TextBecomesItsSingleBytes) {
  EXPECT_EQ(W(L"%s", L"Z\u00FCrich caf\u00E9"), "Z\xFCrich caf\xE9");
}

TEST(WideFormatStrings, WideUnitsAboveFFBecomeQuestionMarks) {
  EXPECT_EQ(W(L"%s", L"\u6771\u4EAC-\u20AC"), "?" "?-?");
}

TEST(WideFormatStrings, CharacterOutsideTheBasicPlaneCountsAsTwoUnits) {
  EXPECT_EQ(W(L"<%s>", L"a\U0001F600b"), "<a??b>");
  EXPECT_EQ(W(L"<%.2s>", L"a\U0001F600b"), "<a?>");
}

TEST(WideFormatStrings, NonAsciiTextInTheFormatItself) {
  EXPECT_EQ(W(L"caf\u00E9 \u00D7 %d \u2192 ok", 2), "caf\xE9 \xD7 2 ? ok");
}

TEST(WideFormatStrings, StdStringsAreAccepted) {
  std::string narrow = "abc";
  std::wstring wide = L"def";
  EXPECT_EQ(W(L"%S%s", narrow, wide), "abcdef");
}

TEST(WideFormatStrings, StringEndsAtItsFirstZero) {
  std::string withZero("ab\0cd", 5);
  EXPECT_EQ(W(L"[%S]", withZero), "[ab]");
}

TEST(WideFormatStrings, NullPointerPrintsNull) {
  const wchar_t* noWide = nullptr;
  const char* noNarrow = nullptr;
  EXPECT_EQ(W(L"%s %S", noWide, noNarrow), "(null) (null)");
}

TEST(WideFormatStrings, PrecisionCutsAndWidthPads) {
  EXPECT_EQ(W(L"[%.3s][%6S][%-6S][%.128S]", L"abcdef", "ab", "ab", "short"), "[abc][    ab][ab    ][short]");
}

TEST(WideFormatStrings, ZeroFlagPadsTextWithZeros) {
  EXPECT_EQ(W(L"[%05S]", "ab"), "[000ab]");
}

TEST(WideFormatIntegers, DecimalSignedAndUnsigned) {
  EXPECT_EQ(W(L"%d %i %u", -42, 7, 4294967295u), "-42 7 4294967295");
}

TEST(WideFormatIntegers, NegativeThroughUnsignedConversionsIsItsTwosComplement) {
  EXPECT_EQ(W(L"%u %x %X %o", -1, -1, -2, -1), "4294967295 ffffffff FFFFFFFE 37777777777");
}

TEST(WideFormatIntegers, LimitsOfThirtyTwoBits) {
  EXPECT_EQ(W(L"%d %d", INT_MIN, INT_MAX), "-2147483648 2147483647");
}

TEST(WideFormatIntegers, FourXPadsTheThreadIdToFourColumns) {
  EXPECT_EQ(W(L"[%4X]", 0x8F4u), "[ 8F4]");
  EXPECT_EQ(W(L"[%4X]", 0x1A2B3u), "[1A2B3]");
}

TEST(WideFormatIntegers, ZeroPaddedHex) {
  EXPECT_EQ(W(L"%04x-%02x-%02X-%08lx", 0xAu, 0x5u, 0xABu, uint32_t{0x80070005}), "000a-05-AB-80070005");
}

TEST(WideFormatIntegers, AlternateFormsOfHexAndOctal) {
  EXPECT_EQ(W(L"%#x %#X %#o %#x %#o", 0x88cc, 0x88cc, 0100666, 0, 0), "0x88cc 0X88CC 0100666 0 0");
}

TEST(WideFormatIntegers, SignAndBlankFlags) {
  EXPECT_EQ(W(L"%+d %+d % d % d", 5, -5, 5, -5), "+5 -5  5 -5");
}

TEST(WideFormatIntegers, WidthFlagsAndPrecision) {
  EXPECT_EQ(W(L"[%5d][%-5d][%05d][%05d][%.3d][%8.3d][%-+6d]", 42, 42, 42, -42, 7, -7, 3),
            "[   42][42   ][00042][-0042][007][    -007][+3    ]");
}

TEST(WideFormatIntegers, PrecisionOverridesTheZeroFlag) {
  EXPECT_EQ(W(L"[%08.3d]", 5), "[     005]");
}

TEST(WideFormatIntegers, ZeroWithPrecisionZeroPrintsNoDigits) {
  EXPECT_EQ(W(L"[%.0d][%5.0x]", 0, 0u), "[][     ]");
}

TEST(WideFormatIntegers, I64ReadsSixtyFourBits) {
  EXPECT_EQ(W(L"%I64u %I64d %I64x", UINT64_MAX, INT64_MIN, 0x123456789ABCDEFull),
            "18446744073709551615 -9223372036854775808 123456789abcdef");
}

TEST(WideFormatIntegers, LlAndIAndZReadSixtyFourBits) {
  EXPECT_EQ(W(L"%llu %Iu %zu", 1ull << 40, size_t{1} << 33, size_t{12}), "1099511627776 8589934592 12");
}

TEST(WideFormatIntegers, LongIsThirtyTwoBits) {
  EXPECT_EQ(W(L"%lu %ld", uint32_t{4000000000u}, int32_t{-3}), "4000000000 -3");
}

TEST(WideFormatIntegers, HxPrintsTheLowSixteenBits) {
  EXPECT_EQ(W(L"%hx:%hx:%hx", uint16_t{0xfe80}, 0x12345, uint16_t{0}), "fe80:2345:0");
}

TEST(WideFormatIntegers, HhdPrintsTheLowEightBitsSigned) {
  EXPECT_EQ(W(L"%hhd %hhu", 0xFF, 0x1FF), "-1 255");
}

TEST(WideFormatIntegers, SmallTypesArePromotedFirst) {
  EXPECT_EQ(W(L"%d %d %x", uint16_t{65535}, int8_t{-1}, int8_t{-1}), "65535 -1 ffffffff");
}

TEST(WideFormatIntegers, BoolsAndEnumsPrintTheirValue) {
  enum Colour : int { Red = 3 };
  EXPECT_EQ(W(L"%d %d %d", true, false, Red), "1 0 3");
}

TEST(WideFormatIntegers, StarTakesWidthAndPrecisionFromArguments) {
  EXPECT_EQ(W(L"[%*d][%-*d][%.*S][%*d]", 4, 7, 3, 8, 2, "abc", -3, 1), "[   7][8  ][ab][1  ]");
}

TEST(WideFormatPointers, PSixteenUpperCaseDigits) {
  const void* p = reinterpret_cast<const void*>(uintptr_t{0x12ff7c});
  EXPECT_EQ(W(L"attr(%p)", p), "attr(000000000012FF7C)");
  EXPECT_EQ(W(L"%p", nullptr), "0000000000000000");
}

TEST(WideFormatPointers, PAcceptsWidthAndLeftJustification) {
  const void* p = reinterpret_cast<const void*>(uintptr_t{0xAB});
  EXPECT_EQ(W(L"[%20p][%-18p]", p, p), "[    00000000000000AB][00000000000000AB  ]");
}

TEST(WideFormatPointers, StringPointerThroughPPrintsItsAddress) {
  const char* text = reinterpret_cast<const char*>(uintptr_t{0x1000});
  EXPECT_EQ(W(L"%p", text), "0000000000001000");
}

TEST(WideFormatCharacters, LowerCTakesAWideCharacter) {
  EXPECT_EQ(W(L"%c%c%c", L'a', L'\u00E9', L'\u4E2D'), "a\xE9?");
}

TEST(WideFormatCharacters, UpperCAndHcTakeAnEightBitCharacter) {
  EXPECT_EQ(W(L"%C%hc%lc", 'x', 'y', L'z'), "xyz");
  EXPECT_EQ(N("%c%C", 'x', L'y'), "xy");
}

TEST(WideFormatCharacters, WidthPadsACharacter) {
  EXPECT_EQ(W(L"[%3c][%-3c]", L'a', L'b'), "[  a][b  ]");
}

TEST(WideFormatPercent, DoublePercentIsOnePercent) {
  EXPECT_EQ(W(L"100%% of %d%%", 5), "100% of 5%");
}

TEST(WideFormatAll, TheLogPrefixAndAMessage) {
  EXPECT_EQ(W(L"[%4X][ZTENG][%S:%d] %s currently holds the lock, try later. error=0x%08lx, %s\n", 0x8F4u,
              "UninstallComponent", 121, L"Setup", uint32_t{0x8004a024}, L"locked"),
            "[ 8F4][ZTENG][UninstallComponent:121] Setup currently holds the lock, try later. "
            "error=0x8004a024, locked\n");
}

}  // namespace
