#include "command/command_header.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(CommandReply, SimpleReplyCarriesMagicRequestIdAndResultOnly) {
  CommandHeader request = {};
  std::memcpy(request.Magic, "QTNZ", 4);
  request.Command = 101;
  request.RequestId = 0xA1B2C3D4;
  request.Result = 77;
  request.DataLength = 12;
  request.Time[0] = 2026;
  CommandHeader reply = SimpleReply(request, 1);
  std::string bytes(reinterpret_cast<const char*>(&reply), sizeof reply);
  const std::string expected(
      "QTNZ"
      "\x00\x00\x00\x00"   // Command 0
      "\xD4\xC3\xB2\xA1"   // RequestId, little-endian
      "\x01\x00\x00\x00"   // Result 1
      "\x00\x00\x00\x00"   // DataLength 0
      "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00",  // Time, set when sent
      36);
  EXPECT_EQ(bytes, expected);
}

TEST(CommandHeaderBytes, FieldsAreReadLittleEndianAtTheirOffsets) {
  std::string bytes("QTNZ\x02\x00\x00\x00\x07\x00\x00\x00\x00\x00\x00\x00\x0d\x00\x00\x00", 20);
  bytes.append(16, '\x00');
  CommandHeader header = HeaderFromBytes(bytes);
  EXPECT_TRUE(HasCommandMagic(header));
  EXPECT_EQ(header.Command, 2u);
  EXPECT_EQ(header.RequestId, 7u);
  EXPECT_EQ(header.DataLength, 13u);
}

TEST(CommandHeaderBytes, OtherMagicIsNoCommand) {
  std::string bytes(36, '\0');
  bytes.replace(0, 4, "QTNz");
  EXPECT_FALSE(HasCommandMagic(HeaderFromBytes(bytes)));
}

}  // namespace
