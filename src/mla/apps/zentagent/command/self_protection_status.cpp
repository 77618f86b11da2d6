#include "command/self_protection_status.h"

#include <rapidjson/document.h>

#include "command/command_header.h"
#include "service/debug_log.h"
#include "util/json_text.h"

SelfProtectionRequest ParseSelfProtectionStatus(std::string_view message) {
  if (message.size() < kCommandHeaderSize + 1) {
    ZENT_LOG(1, L"Self protection status is empty.\n");
    return SelfProtectionRequest::Empty;
  }
  std::string_view json = message.substr(kCommandHeaderSize);
  ZENT_LOG(4, L"self protection status: %S\n", json);
  json = SkipByteOrderMark(json);
  rapidjson::Document doc;
  doc.Parse(json.data(), json.size());
  if (doc.HasParseError()) {
    ZENT_LOG(1, L"Unable to parse self protection status.\n");
    return SelfProtectionRequest::Unparsable;
  }
  const rapidjson::Value* service = nullptr;
  if (doc.IsObject()) {
    auto member = doc.FindMember("service");
    if (member != doc.MemberEnd()) service = &member->value;
  }
  if (service == nullptr || !service->IsInt() || (service->GetInt() != 0 && service->GetInt() != 1)) {
    ZENT_LOG(1, L"Invalid self protection status.\n");
    return SelfProtectionRequest::Invalid;
  }
  return service->GetInt() == 1 ? SelfProtectionRequest::On : SelfProtectionRequest::Off;
}
