#include "command/self_protection_status.h"

#include <rapidjson/document.h>

#include "command/command_header.h"
#include "util/json_text.h"

SelfProtectionRequest ParseSelfProtectionStatus(std::string_view message) {
  if (message.size() < kCommandHeaderSize + 1) return SelfProtectionRequest::Empty;
  std::string_view json = SkipByteOrderMark(message.substr(kCommandHeaderSize));
  rapidjson::Document doc;
  doc.Parse(json.data(), json.size());
  if (doc.HasParseError()) return SelfProtectionRequest::Unparsable;
  const rapidjson::Value* service = nullptr;
  if (doc.IsObject()) {
    auto member = doc.FindMember("service");
    if (member != doc.MemberEnd()) service = &member->value;
  }
  if (service == nullptr || !service->IsInt() || (service->GetInt() != 0 && service->GetInt() != 1)) {
    return SelfProtectionRequest::Invalid;
  }
  return service->GetInt() == 1 ? SelfProtectionRequest::On : SelfProtectionRequest::Off;
}
