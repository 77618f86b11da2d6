// The framework's system call, answered by the stand-in from its knobs.
#include "klf_agent_library_win.h"
#include "stand_in_key.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using zentsim::testing::KlfAgentLibrary;
using zentsim::testing::SimScope;
using zentsim::testing::StandInKey;

const std::string kSelfProtectionRequest =
    R"({"system_call_id":"KLF_SYSCALL_GET_SELF_PROTECTION","product_id":"KLF_IPRODUCT_ZENT"})";

struct Answer {
  int result = -1;
  uint32_t size = 0;
  bool hasResponse = false;
  std::string text;
};

class KlfSystemCall : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(klf.systemCall, nullptr);
    ASSERT_NE(klf.free, nullptr);
  }

  // Sends a request as the agent does: its size counts the closing zero.
  Answer Call(const std::string& request) {
    return CallWithSize(request, static_cast<uint32_t>(request.size() + 1));
  }

  Answer CallWithSize(const std::string& request, uint32_t size) {
    Answer answer;
    char* response = nullptr;
    answer.result = klf.systemCall(0, size, request.c_str(), &answer.size, &response);
    answer.hasResponse = response != nullptr;
    if (response) answer.text = response;
    klf.free(response);
    return answer;
  }

  SimScope scope;
  StandInKey knobs = scope.Key(L"klfAgent");
  KlfAgentLibrary klf;
};

TEST_F(KlfSystemCall, SelfProtectionIsOffByDefault) {
  Answer answer = Call(kSelfProtectionRequest);
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.text,
            R"({"system_call_result": {"system_call_error": 0, "system_call_content": )"
            R"({"enable": {"service": 0}}}})");
}

TEST_F(KlfSystemCall, SelfProtectionKnobTurnsTheServiceOn) {
  knobs.Set(L"SelfProtection", 1);
  EXPECT_EQ(Call(kSelfProtectionRequest).text,
            R"({"system_call_result": {"system_call_error": 0, "system_call_content": )"
            R"({"enable": {"service": 1}}}})");
}

TEST_F(KlfSystemCall, ResponseSizeCountsTheClosingZero) {
  Answer answer = Call(kSelfProtectionRequest);
  EXPECT_EQ(answer.size, answer.text.size() + 1);
}

TEST_F(KlfSystemCall, SystemCallFailsKnobIsTheResultWithoutResponse) {
  knobs.Set(L"SystemCallFails", 5);
  Answer answer = Call(kSelfProtectionRequest);
  EXPECT_EQ(answer.result, 5);
  EXPECT_FALSE(answer.hasResponse);
  EXPECT_EQ(answer.size, 0u);
}

TEST_F(KlfSystemCall, ResponseErrorKnobAnswersThatErrorWithoutContent) {
  knobs.Set(L"ResponseError", 5);
  Answer answer = Call(kSelfProtectionRequest);
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.text, R"({"system_call_result": {"system_call_error": 5}})");
}

TEST_F(KlfSystemCall, ResponseKnobIsAnsweredExactly) {
  knobs.Set(L"Response", L"{\"system_call_result\": {\"system_call_error\": ");
  Answer answer = Call(kSelfProtectionRequest);
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.text, "{\"system_call_result\": {\"system_call_error\": ");
}

TEST_F(KlfSystemCall, UnknownRequestGetsErrorOne) {
  Answer answer =
      Call(R"({"system_call_id":"KLF_SYSCALL_GET_LICENSE","product_id":"KLF_IPRODUCT_ZENT"})");
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.text, R"({"system_call_result": {"system_call_error": 1}})");
}

TEST_F(KlfSystemCall, RequestForAnotherProductIsUnknown) {
  Answer answer = Call(
      R"({"system_call_id":"KLF_SYSCALL_GET_SELF_PROTECTION","product_id":"KLF_IPRODUCT_OTHER"})");
  EXPECT_EQ(answer.text, R"({"system_call_result": {"system_call_error": 1}})");
}

TEST_F(KlfSystemCall, RequestSizeWithoutTheClosingZeroIsRefused) {
  Answer answer = CallWithSize(kSelfProtectionRequest,
                               static_cast<uint32_t>(kSelfProtectionRequest.size()));
  EXPECT_EQ(answer.result, ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(answer.hasResponse);
}

TEST_F(KlfSystemCall, RecordsTheRequestAndTheFreedResponse) {
  Call(kSelfProtectionRequest);
  EXPECT_EQ(knobs.Dword(L"SystemCalls"), 1u);
  EXPECT_EQ(knobs.String(L"LastRequest"),
            LR"({"system_call_id":"KLF_SYSCALL_GET_SELF_PROTECTION","product_id":"KLF_IPRODUCT_ZENT"})");
  EXPECT_EQ(knobs.Dword(L"ResponsesFreed"), 1u);
}

TEST_F(KlfSystemCall, FreeOfNoResponseIsHarmless) {
  klf.free(nullptr);
  EXPECT_EQ(knobs.Dword(L"ResponsesFreed"), std::nullopt);
}

}  // namespace
