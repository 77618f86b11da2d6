#include "log/debug_log.h"
#include "server/server_reply.h"

int checkServerResponseType(const rapidjson::Value& value) {
  if (!value.IsObject()) {
    ZENT_LOG(1, L"json content is incorrect\n");
    return kOtherResponse;
  }
  auto name = value.FindMember("name");
  if (name == value.MemberEnd() || !name->value.IsString()) {
    ZENT_LOG(1, L"Json doesn't contain member 'name'\n");
    return kOtherResponse;
  }
  std::string text(name->value.GetString(), name->value.GetStringLength());
  if (text == "errorCode") {
    // A value outside the signed 32-bit range, or not an integer, is no
    // acknowledgement.
    auto code = value.FindMember("value");
    if (code != value.MemberEnd() && code->value.IsInt()) {
      ZENT_LOG(1, L"ack response received\n");
      return kAckResponse;
    }
  }
  if (text == "ClientRequest") {
    auto uid = value.FindMember("clientUID");
    auto request = value.FindMember("request");
    if (uid != value.MemberEnd() && uid->value.IsString() && request != value.MemberEnd() &&
        request->value.IsString()) {
      ZENT_LOG(1, L"client request received\n");
      return kClientRequestResponse;
    }
  }
  return kOtherResponse;
}
