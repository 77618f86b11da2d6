#include "util/brvn_self_protection.h"

#include <gtest/gtest.h>

namespace {

TEST(SelfProtectionQuery, RequestNamesTheCallAndTheProductInOrder) {
  EXPECT_EQ(BuildSelfProtectionRequest(),
            "{\"system_call_id\":\"KLF_SYSCALL_GET_SELF_PROTECTION\",\"product_id\":\"KLF_IPRODUCT_ZENT\"}");
}

TEST(SelfProtectionAnswer, ServiceOneIsOn) {
  bool on = false;
  EXPECT_EQ(ParseSelfProtectionResponse(
                "{\"system_call_result\": {\"system_call_error\": 0, \"system_call_content\": "
                "{\"enable\": {\"service\": 1}}}}",
                on),
            0);
  EXPECT_TRUE(on);
}

TEST(SelfProtectionAnswer, ServiceZeroIsOff) {
  bool on = true;
  EXPECT_EQ(ParseSelfProtectionResponse(
                "{\"system_call_result\": {\"system_call_error\": 0, \"system_call_content\": "
                "{\"enable\": {\"service\": 0}}}}",
                on),
            0);
  EXPECT_FALSE(on);
}

TEST(SelfProtectionAnswer, AnyNonZeroServiceIsOn) {
  bool on = false;
  EXPECT_EQ(ParseSelfProtectionResponse(
                "\xEF\xBB\xBF{\"system_call_result\":{\"system_call_error\":0,\"system_call_content\":"
                "{\"enable\":{\"service\":7}}}}",
                on),
            0);
  EXPECT_TRUE(on);
}

TEST(SelfProtectionAnswer, ErrorCodeLeavesTheFlagAlone) {
  bool on = true;
  EXPECT_EQ(ParseSelfProtectionResponse("{\"system_call_result\": {\"system_call_error\": 5}}", on), -1);
  EXPECT_TRUE(on);
}

TEST(SelfProtectionAnswer, MissingContentIsRefused) {
  bool on = false;
  EXPECT_EQ(ParseSelfProtectionResponse("{\"system_call_result\": {\"system_call_error\": 0}}", on), -1);
  EXPECT_FALSE(on);
}

TEST(SelfProtectionAnswer, MissingOrNullErrorCodeIsRefused) {
  bool on = false;
  EXPECT_EQ(ParseSelfProtectionResponse("{\"system_call_result\": {}}", on), -1);
  EXPECT_EQ(ParseSelfProtectionResponse("{\"system_call_result\": {\"system_call_error\": null}}", on), -1);
  EXPECT_EQ(ParseSelfProtectionResponse("{}", on), -1);
}

TEST(SelfProtectionAnswer, ServiceThatIsNoIntegerIsRefused) {
  bool on = false;
  EXPECT_EQ(ParseSelfProtectionResponse(
                "{\"system_call_result\":{\"system_call_error\":0,\"system_call_content\":{\"enable\":"
                "{\"service\":\"1\"}}}}",
                on),
            -1);
  EXPECT_FALSE(on);
}

TEST(SelfProtectionAnswer, MalformedJsonIsRefused) {
  bool on = false;
  EXPECT_EQ(ParseSelfProtectionResponse("{\"system_call_result\": ", on), -1);
  EXPECT_EQ(ParseSelfProtectionResponse("", on), -1);
}

}  // namespace
