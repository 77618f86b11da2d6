#include "util/reg_ex_impl.h"

#include <gtest/gtest.h>

#include <string>

#include "util/captured_log.h"

namespace {

bool CompileOf(const std::string& pattern) {
  utilRegExImpl regex;
  return regex.Compile(pattern);
}

bool Finds(const std::string& pattern, const std::string& text) {
  utilRegExImpl regex;
  EXPECT_TRUE(regex.Compile(pattern)) << pattern;
  return regex.Matches(text);
}

std::string RefusalLine(const std::string& pattern) {
  return "Compile: Invalid regular expression '" + pattern + "'";
}

TEST(RegExCompile, DotStarMatchesEveryLineTheEmptyOneToo) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile(".*"));
  EXPECT_TRUE(regex.Matches(""));
  EXPECT_TRUE(regex.Matches("any line"));
  EXPECT_TRUE(regex.Matches(std::string(10000, 'x')));
}

TEST(RegExCompile, LoneOpeningParenthesisIsRefusedWithTheLogLine) {
  CapturedLog log(1);
  utilRegExImpl regex;
  EXPECT_FALSE(regex.Compile("("));
  EXPECT_FALSE(regex.IsValid());
  EXPECT_EQ(LogMessages(log.Text()), std::vector<std::string>({RefusalLine("(")}));
}

TEST(RegExCompile, ParenthesisQuestionMarkIsNoExtendedExpression) {
  EXPECT_FALSE(CompileOf("(?"));
  EXPECT_FALSE(CompileOf("(?i)abc"));
  EXPECT_FALSE(CompileOf("(?:a)"));
}

TEST(RegExCompile, GroupCountIsOneMoreThanTheOpeningParentheses) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile("a(b)c(d)"));
  EXPECT_EQ(regex.GroupCount(), 3u);
}

TEST(RegExCompile, GroupCountAlsoCountsEscapedAndBracketedParentheses) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile("\\([(]"));
  EXPECT_EQ(regex.GroupCount(), 3u);
  EXPECT_EQ(CountRegExGroups("(?x)(a)", 7), 2u);
  EXPECT_EQ(CountRegExGroups("ab(", 3), 2u);
}

TEST(RegExCompile, SecondCompileWithABadPatternLeavesTheObjectInvalid) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile("a(b)"));
  EXPECT_TRUE(regex.IsValid());
  EXPECT_FALSE(regex.Compile("a(b"));
  EXPECT_FALSE(regex.IsValid());
  EXPECT_EQ(regex.GroupCount(), 0u);
}

TEST(RegExCompile, LaterCompileReplacesTheEarlierExpression) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile("first"));
  ASSERT_TRUE(regex.Compile("second"));
  EXPECT_FALSE(regex.Matches("first"));
  EXPECT_TRUE(regex.Matches("the second"));
}

TEST(RegExCompile, FreshObjectIsInvalid) {
  utilRegExImpl regex;
  EXPECT_FALSE(regex.IsValid());
  EXPECT_EQ(regex.GroupCount(), 0u);
}

TEST(RegExMatches, SearchIsUnanchored) {
  EXPECT_TRUE(Finds("b", "abc"));
  EXPECT_FALSE(Finds("d", "abc"));
}

TEST(RegExMatches, CaseCounts) {
  EXPECT_FALSE(Finds("ABC", "abc"));
  EXPECT_TRUE(Finds("ABC", "xABCx"));
}

TEST(RegExMatches, ExtendedSyntaxAlternationIntervalsClasses) {
  EXPECT_TRUE(Finds("^(GET|POST) /a{2,3}$", "POST /aaa"));
  EXPECT_FALSE(Finds("^(GET|POST) /a{2,3}$", "POST /aaaa"));
  EXPECT_TRUE(Finds("[[:digit:]]{1,3}\\.[[:digit:]]{1,3}", "from 10.0.0.1"));
  EXPECT_FALSE(Finds("[[:digit:]]{1,3}\\.[[:digit:]]{1,3}", "from ten"));
  EXPECT_TRUE(Finds("a+b?c*", "xa"));
  EXPECT_TRUE(Finds("[^a-c]", "abcd"));
  EXPECT_FALSE(Finds("[^a-c]", "abca"));
}

// "^" and "$" hold at the ends of the text only, and "." takes any byte, a
// line feed and a carriage return too, as a search without REG_NEWLINE does.
TEST(RegExMatches, AnchorsStandAtTheTextsEndsOnly) {
  EXPECT_FALSE(Finds("^b", "a\nb"));
  EXPECT_FALSE(Finds("a$", "a\nb"));
  EXPECT_FALSE(Finds("a$", "a\r"));
  EXPECT_TRUE(Finds("^a.$", "a\r"));
  EXPECT_TRUE(Finds("a.b", "a\nb"));
}

TEST(RegExMatches, BytesAreLatin1CharactersOneEach) {
  // The UTF-8 of "é" is two bytes, so two dots take it.
  EXPECT_TRUE(Finds("^caf..$", "caf\xc3\xa9"));
  EXPECT_FALSE(Finds("^caf.$", "caf\xc3\xa9"));
  EXPECT_TRUE(Finds("caf\xc3\xa9", "un caf\xc3\xa9"));
  EXPECT_TRUE(Finds("^a.b$", "a\xff" "b"));
  EXPECT_TRUE(Finds("[\xe0-\xff]", "caf\xe9"));
  EXPECT_FALSE(Finds("[\xe0-\xff]", "cafe"));
}

TEST(RegExMatches, TextIsTakenWithItsLengthZerosIncluded) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile("a.b"));
  EXPECT_TRUE(regex.Matches(std::string("a\0b", 3)));
  ASSERT_TRUE(regex.Compile("tail"));
  EXPECT_TRUE(regex.Matches(std::string("\0tail", 5)));
  EXPECT_FALSE(regex.Matches("tail", 3));
}

TEST(RegExRefusals, BackReferenceIsRefusedLikeABadPattern) {
  CapturedLog log(1);
  EXPECT_FALSE(CompileOf("(a)\\1"));
  EXPECT_FALSE(CompileOf("(a*)*\\1x"));
  EXPECT_FALSE(CompileOf("(a)(b)(c)(d)(e)(f)(g)(h)(i)\\9"));
  EXPECT_EQ(LogMessages(log.Text()),
            std::vector<std::string>({RefusalLine("(a)\\1"), RefusalLine("(a*)*\\1x"),
                                      RefusalLine("(a)(b)(c)(d)(e)(f)(g)(h)(i)\\9")}));
}

TEST(RegExRefusals, BackslashDigitInsideBracketsIsNoBackReference) {
  EXPECT_TRUE(Finds("[\\1]", "x1"));
  EXPECT_TRUE(Finds("[\\1]", "x\\"));
  EXPECT_FALSE(Finds("[\\1]", "x"));
}

// In a bracket expression a backslash is an ordinary character.
TEST(RegExBrackets, BackslashInsideIsItself) {
  EXPECT_TRUE(Finds("a[\\]b", "a\\b"));
  EXPECT_TRUE(Finds("^[\\.]$", "\\"));
  EXPECT_TRUE(Finds("^[\\.]$", "."));
  EXPECT_FALSE(Finds("^[\\d]$", "7"));
  EXPECT_TRUE(Finds("^[\\d]$", "d"));
  EXPECT_TRUE(Finds("^[^\\]$", "x"));
  EXPECT_FALSE(Finds("^[^\\]$", "\\"));
}

TEST(RegExBrackets, ClosingBracketFirstIsACharacter) {
  EXPECT_TRUE(Finds("^[]a]$", "]"));
  EXPECT_TRUE(Finds("^[]a]$", "a"));
  EXPECT_FALSE(Finds("^[^]a]$", "]"));
  EXPECT_TRUE(Finds("^[^]a]$", "b"));
}

TEST(RegExBrackets, EscapeOutsideOpensNoBracket) {
  EXPECT_TRUE(Finds("\\[\\]", "a[]b"));
  EXPECT_TRUE(Finds("\\\\[x]", "\\x"));
}

TEST(RegExBrackets, ClassesEquivalencesAndCollatingSymbols) {
  EXPECT_TRUE(Finds("^[[:alpha:]_][[:alnum:]_]*$", "_id9"));
  EXPECT_FALSE(Finds("^[[:alpha:]_][[:alnum:]_]*$", "9id"));
  EXPECT_TRUE(Finds("^[[=a=]]$", "a"));
  EXPECT_FALSE(Finds("^[[=a=]]$", "a]"));
  EXPECT_TRUE(Finds("^[[.-.]x]$", "-"));
  EXPECT_TRUE(Finds("^[[.].]]$", "]"));
  EXPECT_TRUE(Finds("^[[.\\.]]$", "\\"));
}

TEST(RegExBrackets, CollatingSymbolOfSeveralCharactersIsRefused) {
  CapturedLog log(1);
  EXPECT_FALSE(CompileOf("[[.space.]]"));
  EXPECT_EQ(LogMessages(log.Text()), std::vector<std::string>({RefusalLine("[[.space.]]")}));
}

TEST(RegExBrackets, UnclosedBracketIsRefused) {
  EXPECT_FALSE(CompileOf("[abc"));
  EXPECT_FALSE(CompileOf("a["));
}

TEST(RegExRefusals, NestedCountsMultiplyingPastOneThousandAreRefused) {
  CapturedLog log(1);
  EXPECT_FALSE(CompileOf("(a{255}){255}"));
  EXPECT_FALSE(CompileOf("((a{255}){255}){255}"));
  EXPECT_FALSE(CompileOf("(a{10}){101}"));
  EXPECT_FALSE(CompileOf("a{1001}"));
  EXPECT_EQ(LogMessages(log.Text()),
            std::vector<std::string>({RefusalLine("(a{255}){255}"), RefusalLine("((a{255}){255}){255}"),
                                      RefusalLine("(a{10}){101}"), RefusalLine("a{1001}")}));
}

TEST(RegExRefusals, NestedCountsOfExactlyOneThousandCompile) {
  EXPECT_TRUE(Finds("(a{10}){100}", std::string(1000, 'a')));
  EXPECT_FALSE(Finds("(a{10}){100}", std::string(999, 'a')));
  EXPECT_TRUE(CompileOf("a{1000}"));
}

// Forms that extended expressions leave undefined, as this wrapper reads them.
TEST(RegExUndefinedForms, LeadingStarIsRefused) {
  CapturedLog log(1);
  EXPECT_FALSE(CompileOf("*a"));
  EXPECT_EQ(LogMessages(log.Text()), std::vector<std::string>({RefusalLine("*a")}));
}

TEST(RegExUndefinedForms, IntervalWithoutLowerBoundIsLiteralText) {
  // Not "a" zero to two times, which would match any text.
  EXPECT_FALSE(Finds("a{,2}", "b"));
  EXPECT_FALSE(Finds("a{,2}", "aa"));
  EXPECT_TRUE(Finds("a{,2}", "xa{,2}y"));
}

TEST(RegExUndefinedForms, PerlClassEscapeIsRefused) {
  CapturedLog log(1);
  EXPECT_FALSE(CompileOf("\\d"));
  EXPECT_FALSE(CompileOf("\\w+"));
  EXPECT_FALSE(CompileOf("\\bword"));
  EXPECT_EQ(LogMessages(log.Text()),
            std::vector<std::string>({RefusalLine("\\d"), RefusalLine("\\w+"), RefusalLine("\\bword")}));
}

TEST(RegExMatches, EscapedSpecialCharactersAreLiterals) {
  EXPECT_TRUE(Finds("a\\.b\\*", "a.b*"));
  EXPECT_FALSE(Finds("a\\.b", "axb"));
  EXPECT_TRUE(Finds("\\(x\\)", "(x)"));
}

TEST(RegExMatches, LongLineWithDotStarNeedsNoRecursion) {
  utilRegExImpl regex;
  ASSERT_TRUE(regex.Compile("^.*z$"));
  std::string line(1 << 20, 'y');
  EXPECT_FALSE(regex.Matches(line));
  line.back() = 'z';
  EXPECT_TRUE(regex.Matches(line));
}

}  // namespace
