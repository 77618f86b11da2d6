// Which hourly pass writes ConfigBinStatus or PolicyStatus: a mismatch on the
// second pass in a row, a good value at once. Each pass is shown as the
// telemetry line prints it, "(value,mark)" before the mark changes, then the
// value written, or "-" when the pass writes nothing.
#include "upkeep/telemetry_marks.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> Passes(std::initializer_list<uint32_t> values) {
  uint32_t mark = 0;
  std::vector<std::string> passes;
  for (uint32_t value : values) {
    std::string printed = "(" + std::to_string(value) + "," + std::to_string(mark) + ") ";
    bool written = TakeTelemetryValue(value, mark);
    passes.push_back(printed + (written ? std::to_string(value) : "-"));
  }
  return passes;
}

TEST(TelemetryMarks, FirstMismatchWritesNothingAndSetsTheMark) {
  uint32_t mark = 0;
  EXPECT_FALSE(TakeTelemetryValue(1, mark));
  EXPECT_EQ(mark, 1u);
}

TEST(TelemetryMarks, MismatchIsWrittenOnTheSecondPassInARowAndClearsTheMark) {
  uint32_t mark = 1;
  EXPECT_TRUE(TakeTelemetryValue(1, mark));
  EXPECT_EQ(mark, 0u);
}

TEST(TelemetryMarks, LastingMismatchIsWrittenEverySecondPass) {
  EXPECT_EQ(Passes({1, 1, 1, 1, 1, 1}),
            (std::vector<std::string>{"(1,0) -", "(1,1) 1", "(1,0) -", "(1,1) 1", "(1,0) -", "(1,1) 1"}));
}

TEST(TelemetryMarks, GoodValueIsWrittenAtOnceEveryPass) {
  EXPECT_EQ(Passes({0, 0, 0}), (std::vector<std::string>{"(0,0) 0", "(0,0) 0", "(0,0) 0"}));
}

TEST(TelemetryMarks, GoodValueAfterAFirstMismatchIsWrittenAndClearsTheMark) {
  EXPECT_EQ(Passes({1, 0, 1, 1}), (std::vector<std::string>{"(1,0) -", "(0,1) 0", "(1,0) -", "(1,1) 1"}));
}

TEST(TelemetryMarks, MismatchesApartByAGoodPassAreNeverWritten) {
  EXPECT_EQ(Passes({1, 0, 1, 0, 1}),
            (std::vector<std::string>{"(1,0) -", "(0,1) 0", "(1,0) -", "(0,1) 0", "(1,0) -"}));
}

}  // namespace
