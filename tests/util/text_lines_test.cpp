#include "util/text_lines.h"

#include <gtest/gtest.h>

namespace {

struct Split {
  std::vector<std::string> lines;
  std::vector<int32_t> types;
};

Split SplitOf(const std::string& bytes) {
  Split split;
  SplitTextLines(bytes.data(), bytes.size(), split.lines, split.types);
  return split;
}

TEST(TextLineSplitting, EachLineEndFormInOneText) {
  Split split = SplitOf("a\r\nb\nc\rd");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"a", "b", "c", "d"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{2, 1, 3, 0}));
}

TEST(TextLineSplitting, TwoCarriageReturnsDropTheTextBeforeThem) {
  Split split = SplitOf("a\r\r");
  EXPECT_EQ(split.lines, (std::vector<std::string>{""}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{3}));
}

TEST(TextLineSplitting, TextAfterTwoCarriageReturnsIsTheNextLine) {
  Split split = SplitOf("a\r\rb");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"", "b"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{3, 0}));
}

TEST(TextLineSplitting, ClosingLoneCarriageReturnStaysInTheLastLine) {
  Split split = SplitOf("a\r");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"a\r"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{0}));
}

TEST(TextLineSplitting, UnixLinesWithAClosingEndHaveNoLastLine) {
  Split split = SplitOf("one\ntwo\n");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{1, 1}));
}

TEST(TextLineSplitting, DosLines) {
  Split split = SplitOf("one\r\ntwo\r\n");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"one", "two"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{2, 2}));
}

TEST(TextLineSplitting, OldMacLines) {
  Split split = SplitOf("one\rtwo\rthree");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"one", "two", "three"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{3, 3, 0}));
}

TEST(TextLineSplitting, EmptyUnixLinesAreKept) {
  Split split = SplitOf("\n\nx");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"", "", "x"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{1, 1, 0}));
}

TEST(TextLineSplitting, ThreeCarriageReturnsGiveTwoEmptyMacLines) {
  Split split = SplitOf("a\r\r\rb");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"", "", "b"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{3, 3, 0}));
}

TEST(TextLineSplitting, LineFeedAfterAnEmptyMacLineEndsAnEmptyDosLine) {
  Split split = SplitOf("x\r\r\ny");
  EXPECT_EQ(split.lines, (std::vector<std::string>{"", "", "y"}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{3, 2, 0}));
}

TEST(TextLineSplitting, BytesStayAsTheyAre) {
  Split split = SplitOf(std::string("\xe9\0z\n", 4));
  EXPECT_EQ(split.lines, (std::vector<std::string>{std::string("\xe9\0z", 3)}));
  EXPECT_EQ(split.types, (std::vector<int32_t>{1}));
}

TEST(TextLineSplitting, NothingGivesNoLine) {
  Split split = SplitOf("");
  EXPECT_TRUE(split.lines.empty());
  EXPECT_TRUE(split.types.empty());
}

}  // namespace
