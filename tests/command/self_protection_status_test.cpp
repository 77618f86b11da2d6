#include "command/self_protection_status.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Message(const std::string& data) { return std::string(36, '\0') + data; }

TEST(SelfProtectionStatus, ServiceOneTurnsItOn) {
  EXPECT_EQ(ParseSelfProtectionStatus(Message("{\"service\":1}")), SelfProtectionRequest::On);
}

TEST(SelfProtectionStatus, ServiceZeroTurnsItOff) {
  EXPECT_EQ(ParseSelfProtectionStatus(Message("{\"service\":0}")), SelfProtectionRequest::Off);
}

TEST(SelfProtectionStatus, ByteOrderMarkIsSkipped) {
  EXPECT_EQ(ParseSelfProtectionStatus(Message("\xEF\xBB\xBF{\"service\": 1}")), SelfProtectionRequest::On);
}

TEST(SelfProtectionStatus, HeaderAloneIsEmpty) {
  EXPECT_EQ(ParseSelfProtectionStatus(Message("")), SelfProtectionRequest::Empty);
}

TEST(SelfProtectionStatus, NotJsonIsUnparsable) {
  EXPECT_EQ(ParseSelfProtectionStatus(Message("service=1")), SelfProtectionRequest::Unparsable);
  EXPECT_EQ(ParseSelfProtectionStatus(Message("{\"service\":1")), SelfProtectionRequest::Unparsable);
}

TEST(SelfProtectionStatus, OtherValuesOrTypesAreInvalid) {
  for (const char* data : {"{\"service\":2}", "{\"service\":-1}", "{\"service\":true}", "{\"service\":\"1\"}",
                           "{\"service\":1.0}", "{\"Service\":1}", "{}", "[1]", "1", "null"}) {
    EXPECT_EQ(ParseSelfProtectionStatus(Message(data)), SelfProtectionRequest::Invalid) << data;
  }
}

}  // namespace
