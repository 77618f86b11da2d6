// Command lines that exitcode.exe builds for the program it launches, written
// by hand from the C runtime's rules for splitting them.
#include "windows_command_line.h"

#include <gtest/gtest.h>

namespace {

TEST(WindowsCommandLine, PlainArgumentsStayAsTheyAre) {
  EXPECT_EQ(JoinWindowsCommandLine({L"reg", L"query", L"HKLM\\SOFTWARE"}), L"reg query HKLM\\SOFTWARE");
}

TEST(WindowsCommandLine, BlanksAndEmptyArgumentsAreQuoted) {
  EXPECT_EQ(JoinWindowsCommandLine({L"a b", L""}), L"\"a b\" \"\"");
}

TEST(WindowsCommandLine, QuotesAreEscapedWithABackslash) {
  EXPECT_EQ(QuoteWindowsArgument(L"{\"service\":1}"), L"\"{\\\"service\\\":1}\"");
}

TEST(WindowsCommandLine, BackslashesBeforeAQuoteAreDoubled) {
  // a\"b: one backslash, then a quote.
  EXPECT_EQ(QuoteWindowsArgument(L"a\\\"b"), L"\"a\\\\\\\"b\"");
}

TEST(WindowsCommandLine, TrailingBackslashesOfAQuotedArgumentAreDoubled) {
  EXPECT_EQ(QuoteWindowsArgument(L"C:\\Program Files\\"), L"\"C:\\Program Files\\\\\"");
}

TEST(WindowsCommandLine, BackslashesElsewhereStayAsTheyAre) {
  EXPECT_EQ(QuoteWindowsArgument(L"C:\\a b\\c"), L"\"C:\\a b\\c\"");
}

}  // namespace
