#include "util/brvn_self_protection.h"

#include <gtest/gtest.h>

namespace {

TEST(SelfProtectionQuery, RequestNamesTheCallAndTheProductInOrder) {
  EXPECT_EQ(BuildSelfProtectionRequest(),
            "{\"system_call_id\":\"KLF_SYSCALL_GET_SELF_PROTECTION\",\"product_id\":\"KLF_IPRODUCT_ZENT\"}");
}

SelfProtectionAnswer Parse(const char* response) {
  int detail = -77;
  return ParseSelfProtectionResponse(response, detail);
}

TEST(SelfProtectionAnswer, ServiceOneIsOn) {
  EXPECT_EQ(Parse("{\"system_call_result\": {\"system_call_error\": 0, \"system_call_content\": "
                  "{\"enable\": {\"service\": 1}}}}"),
            SelfProtectionAnswer::Enabled);
}

TEST(SelfProtectionAnswer, ServiceZeroIsOff) {
  EXPECT_EQ(Parse("{\"system_call_result\": {\"system_call_error\": 0, \"system_call_content\": "
                  "{\"enable\": {\"service\": 0}}}}"),
            SelfProtectionAnswer::Disabled);
}

TEST(SelfProtectionAnswer, AnyNonZeroServiceIsOnAndTheByteOrderMarkIsSkipped) {
  EXPECT_EQ(Parse("\xEF\xBB\xBF{\"system_call_result\":{\"system_call_error\":0,\"system_call_content\":"
                  "{\"enable\":{\"service\":7}}}}"),
            SelfProtectionAnswer::Enabled);
}

TEST(SelfProtectionAnswer, ErrorCodeIsTheFrameworks) {
  int detail = 0;
  EXPECT_EQ(ParseSelfProtectionResponse("{\"system_call_result\": {\"system_call_error\": 5}}", detail),
            SelfProtectionAnswer::FrameworkError);
  EXPECT_EQ(detail, 5);
}

TEST(SelfProtectionAnswer, MissingContentIsInvalid) {
  EXPECT_EQ(Parse("{\"system_call_result\": {\"system_call_error\": 0}}"), SelfProtectionAnswer::InvalidContent);
}

TEST(SelfProtectionAnswer, MissingOrNullErrorCode) {
  EXPECT_EQ(Parse("{\"system_call_result\": {}}"), SelfProtectionAnswer::MissingErrorCode);
  EXPECT_EQ(Parse("{\"system_call_result\": {\"system_call_error\": null}}"),
            SelfProtectionAnswer::MissingErrorCode);
  EXPECT_EQ(Parse("{}"), SelfProtectionAnswer::MissingErrorCode);
}

TEST(SelfProtectionAnswer, ServiceThatIsNoIntegerIsInvalid) {
  EXPECT_EQ(Parse("{\"system_call_result\":{\"system_call_error\":0,\"system_call_content\":{\"enable\":"
                  "{\"service\":\"1\"}}}}"),
            SelfProtectionAnswer::InvalidContent);
}

TEST(SelfProtectionAnswer, MalformedJsonGivesTheParsersCode) {
  int detail = 0;
  EXPECT_EQ(ParseSelfProtectionResponse("{\"system_call_result\": ", detail), SelfProtectionAnswer::Unparsable);
  EXPECT_NE(detail, 0);
  EXPECT_EQ(ParseSelfProtectionResponse("", detail), SelfProtectionAnswer::Unparsable);
  EXPECT_EQ(detail, 1);  // the document is empty
}

}  // namespace
