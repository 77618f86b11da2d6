#include "util/utf8_check.h"

#include <gtest/gtest.h>

namespace {

TEST(Utf8Check, AsciiAndMultiByteCharactersPass) {
  EXPECT_TRUE(IsValidUtf8(""));
  EXPECT_TRUE(IsValidUtf8("Office policy"));
  EXPECT_TRUE(IsValidUtf8("caf\xc3\xa9 \xe4\xb8\xad \xf0\x9f\x98\x80"));
}

TEST(Utf8Check, Latin1ByteFails) { EXPECT_FALSE(IsValidUtf8("caf\xe9")); }

TEST(Utf8Check, TruncatedSequenceFails) { EXPECT_FALSE(IsValidUtf8("\xe4\xb8")); }

TEST(Utf8Check, OverlongFormFails) {
  EXPECT_FALSE(IsValidUtf8("\xc0\xaf"));
  EXPECT_FALSE(IsValidUtf8("\xe0\x80\xaf"));
}

TEST(Utf8Check, SurrogateFails) { EXPECT_FALSE(IsValidUtf8("\xed\xa0\x80")); }

TEST(Utf8Check, BeyondU10FFFFFails) { EXPECT_FALSE(IsValidUtf8("\xf4\x90\x80\x80")); }

}  // namespace
