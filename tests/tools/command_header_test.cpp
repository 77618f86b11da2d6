// Header bytes written by hand from the pipe protocol: 36 bytes,
// little-endian, "QTNZ" first and a SYSTEMTIME last.
#include "zentctl/command_header.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using zentctl::BuildRequest;
using zentctl::DecodeCommandHeader;
using zentctl::SystemTime;

// 2024-02-29, a Thursday, 13:05:09.042 UTC.
constexpr SystemTime kLeapDay = {2024, 2, 4, 29, 13, 5, 9, 42};
const std::string kLeapDayBytes("\xE8\x07\x02\x00\x04\x00\x1D\x00\x0D\x00\x05\x00\x09\x00\x2A\x00", 16);

std::string Bytes(std::initializer_list<int> values) {
  std::string out;
  for (int v : values) out += static_cast<char>(v);
  return out;
}

TEST(RequestHeader, NotifyIsMagicThenCommandOneThenIdsAndTime) {
  std::string expected = "QTNZ" + Bytes({0x01, 0, 0, 0}) + Bytes({0x07, 0, 0, 0}) + Bytes({0, 0, 0, 0}) +
                         Bytes({0, 0, 0, 0}) + kLeapDayBytes;
  EXPECT_EQ(BuildRequest(1, 7, "", kLeapDay), expected);
}

TEST(RequestHeader, NumbersAreLittleEndian) {
  std::string message = BuildRequest(107, 0x12345678, "", kLeapDay);
  EXPECT_EQ(message.substr(4, 4), Bytes({107, 0, 0, 0}));
  EXPECT_EQ(message.substr(8, 4), Bytes({0x78, 0x56, 0x34, 0x12}));
}

TEST(RequestHeader, DataLengthIsTheDataSizeAndTheDataFollows) {
  std::string data = R"({"service":1})";
  std::string message = BuildRequest(2, 1, data, kLeapDay);
  ASSERT_EQ(message.size(), 36u + 13u);
  EXPECT_EQ(message.substr(16, 4), Bytes({13, 0, 0, 0}));
  EXPECT_EQ(message.substr(36), data);
}

TEST(RequestHeader, ResultIsZeroInARequest) {
  EXPECT_EQ(BuildRequest(3, 99, "x", kLeapDay).substr(12, 4), Bytes({0, 0, 0, 0}));
}

TEST(RequestHeader, LargestNumbersFillTheirFourBytes) {
  std::string message = BuildRequest(4294967295u, 4294967295u, "", kLeapDay);
  EXPECT_EQ(message.substr(4, 8), Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(ReplyHeader, DecodesEveryFieldOfAReply) {
  std::string reply = "QTNZ" + Bytes({0, 0, 0, 0}) + Bytes({0x2A, 0, 0, 0}) + Bytes({0x46, 0xD4, 0x02, 0x0C}) +
                      Bytes({0, 0, 0, 0}) + kLeapDayBytes;
  auto header = DecodeCommandHeader(reply);
  ASSERT_TRUE(header);
  EXPECT_EQ(std::string(header->Magic.begin(), header->Magic.end()), "QTNZ");
  EXPECT_EQ(header->Command, 0u);
  EXPECT_EQ(header->RequestId, 42u);
  EXPECT_EQ(header->Result, 201512006u);  // 0x0C02D446
  EXPECT_EQ(header->DataLength, 0u);
  EXPECT_EQ(header->Time.wYear, 2024);
  EXPECT_EQ(header->Time.wMonth, 2);
  EXPECT_EQ(header->Time.wDayOfWeek, 4);
  EXPECT_EQ(header->Time.wDay, 29);
  EXPECT_EQ(header->Time.wHour, 13);
  EXPECT_EQ(header->Time.wMinute, 5);
  EXPECT_EQ(header->Time.wSecond, 9);
  EXPECT_EQ(header->Time.wMilliseconds, 42);
}

TEST(ReplyHeader, OnlyExactlyThirtySixBytesAreAHeader) {
  std::string reply = BuildRequest(0, 1, "", kLeapDay);
  EXPECT_FALSE(DecodeCommandHeader(reply.substr(0, 35)));
  EXPECT_FALSE(DecodeCommandHeader(reply + "x"));
  EXPECT_TRUE(DecodeCommandHeader(reply));
}

}  // namespace
