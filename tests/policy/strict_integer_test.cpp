// The strict integer rule: the standard library's stoi, reported instead of
// thrown.
#include "policy/strict_integer.h"

#include <gtest/gtest.h>

#include <string>

namespace {

StrictIntegerResult Convert(const std::string& text, int32_t& value) {
  value = -12345;
  return StrictStoi(text, value);
}

}  // namespace

TEST(StrictIntegerRule, DecimalTextGivesItsValue) {
  int32_t value;
  EXPECT_EQ(Convert("128", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, 128);
  EXPECT_EQ(Convert("-1", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, -1);
  EXPECT_EQ(Convert("+42", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, 42);
}

TEST(StrictIntegerRule, LeadingBlanksAreSkippedAndTrailingTextIgnored) {
  int32_t value;
  EXPECT_EQ(Convert("  60000ms", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, 60000);
  EXPECT_EQ(Convert("12 34", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, 12);
}

TEST(StrictIntegerRule, DecimalOnlySoHexTextStopsAtTheX) {
  int32_t value;
  EXPECT_EQ(Convert("0x10", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(Convert("010", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, 10);
}

TEST(StrictIntegerRule, NoDigitsAtTheStartIsInvalid) {
  int32_t value;
  EXPECT_EQ(Convert("", value), StrictIntegerResult::Invalid);
  EXPECT_EQ(Convert("abc", value), StrictIntegerResult::Invalid);
  EXPECT_EQ(Convert("-", value), StrictIntegerResult::Invalid);
  EXPECT_EQ(Convert("x1", value), StrictIntegerResult::Invalid);
  EXPECT_EQ(value, -12345);
}

TEST(StrictIntegerRule, ThirtyTwoBitLimitsHoldAndOneBeyondIsOutOfRange) {
  int32_t value;
  EXPECT_EQ(Convert("2147483647", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, 2147483647);
  EXPECT_EQ(Convert("-2147483648", value), StrictIntegerResult::Ok);
  EXPECT_EQ(value, INT32_MIN);
  EXPECT_EQ(Convert("2147483648", value), StrictIntegerResult::OutOfRange);
  EXPECT_EQ(Convert("-2147483649", value), StrictIntegerResult::OutOfRange);
  EXPECT_EQ(Convert("99999999999999999999999", value), StrictIntegerResult::OutOfRange);
  EXPECT_EQ(value, -12345);
}

TEST(StrictIntegerRule, ErrorsCarryTheStandardLibrarysTexts) {
  EXPECT_STREQ(StrictIntegerError(StrictIntegerResult::Invalid), "invalid stoi argument");
  EXPECT_STREQ(StrictIntegerError(StrictIntegerResult::OutOfRange), "stoi argument out of range");
}
