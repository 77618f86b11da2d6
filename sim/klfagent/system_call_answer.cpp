#include "system_call_answer.h"

#include <rapidjson/document.h>

namespace zentsim::klf {

namespace {

// The one request the framework knows: the agent asking for its service's
// self-protection state.
bool IsSelfProtectionQuery(std::string_view request) {
  rapidjson::Document document;
  document.Parse(request.data(), request.size());
  if (document.HasParseError() || !document.IsObject()) return false;
  auto id = document.FindMember("system_call_id");
  auto product = document.FindMember("product_id");
  return id != document.MemberEnd() && id->value.IsString() &&
         std::string_view(id->value.GetString()) == "KLF_SYSCALL_GET_SELF_PROTECTION" &&
         product != document.MemberEnd() && product->value.IsString() &&
         std::string_view(product->value.GetString()) == "KLF_IPRODUCT_ZENT";
}

std::string ErrorAnswer(uint32_t error) {
  return "{\"system_call_result\": {\"system_call_error\": " + std::to_string(error) + "}}";
}

}  // namespace

std::string AnswerSystemCall(std::string_view request, const SystemCallKnobs& knobs) {
  if (knobs.response) return *knobs.response;
  // An unknown request: the framework's error 1.
  if (!IsSelfProtectionQuery(request)) return ErrorAnswer(1);
  if (knobs.responseError != 0) return ErrorAnswer(knobs.responseError);
  return "{\"system_call_result\": {\"system_call_error\": 0, \"system_call_content\": "
         "{\"enable\": {\"service\": " +
         std::to_string(knobs.selfProtection) + "}}}}";
}

}  // namespace zentsim::klf
