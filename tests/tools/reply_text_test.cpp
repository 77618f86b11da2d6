// How zentctl prints a reply: one field a line, Time in UTC.
#include "zentctl/reply_text.h"

#include <gtest/gtest.h>

namespace {

using zentctl::CommandHeader;
using zentctl::FormatHex;
using zentctl::FormatReply;

TEST(ReplyText, PrintsEachFieldOnItsOwnLine) {
  CommandHeader reply;
  reply.RequestId = 42;
  reply.Result = 201512006;
  reply.Time = {2024, 2, 4, 29, 13, 5, 9, 42};
  EXPECT_EQ(FormatReply(reply),
            "Magic:      QTNZ\n"
            "Command:    0\n"
            "RequestId:  42\n"
            "Result:     201512006\n"
            "DataLength: 0\n"
            "Time:       2024-02-29 13:05:09.042 UTC (Thursday)\n");
}

TEST(ReplyText, UnprintableMagicBytesAreEscaped) {
  CommandHeader reply;
  reply.Magic = {'Q', '\0', '\\', '\xff'};
  std::string text = FormatReply(reply);
  EXPECT_EQ(text.substr(0, text.find('\n')), "Magic:      Q\\x00\\x5c\\xff");
}

TEST(ReplyText, DayOfWeekOutOfRangeIsShownAsANumber) {
  CommandHeader reply;
  reply.Time = {2024, 13, 9, 1, 0, 0, 0, 0};
  std::string text = FormatReply(reply);
  EXPECT_EQ(text.substr(text.find("Time:")), "Time:       2024-13-01 00:00:00.000 UTC (day of week 9)\n");
}

TEST(ReplyText, HexIsTwoLowerCaseDigitsPerByteSeparatedByBlanks) {
  EXPECT_EQ(FormatHex(std::string("QTNZ\x00\xff", 6)), "51 54 4e 5a 00 ff");
}

}  // namespace
