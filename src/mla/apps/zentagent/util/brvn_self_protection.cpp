#include "util/brvn_self_protection.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "util/json_text.h"

std::string BuildSelfProtectionRequest() {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartObject();
  writer.Key("system_call_id");
  writer.String("KLF_SYSCALL_GET_SELF_PROTECTION");
  writer.Key("product_id");
  writer.String("KLF_IPRODUCT_ZENT");
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize());
}

namespace {

const rapidjson::Value* Member(const rapidjson::Value& object, const char* name) {
  if (!object.IsObject()) return nullptr;
  auto it = object.FindMember(name);
  return it == object.MemberEnd() ? nullptr : &it->value;
}

}  // namespace

SelfProtectionAnswer ParseSelfProtectionResponse(std::string_view response, int& detail) {
  std::string_view text = SkipByteOrderMark(response);
  rapidjson::Document doc;
  doc.Parse(text.data(), text.size());
  if (doc.HasParseError()) {
    detail = static_cast<int>(doc.GetParseError());
    return SelfProtectionAnswer::Unparsable;
  }
  const rapidjson::Value* result = Member(doc, "system_call_result");
  const rapidjson::Value* error = result ? Member(*result, "system_call_error") : nullptr;
  if (error == nullptr || !error->IsInt()) return SelfProtectionAnswer::MissingErrorCode;
  if (error->GetInt() != 0) {
    detail = error->GetInt();
    return SelfProtectionAnswer::FrameworkError;
  }
  const rapidjson::Value* content = Member(*result, "system_call_content");
  const rapidjson::Value* enable = content ? Member(*content, "enable") : nullptr;
  const rapidjson::Value* service = enable ? Member(*enable, "service") : nullptr;
  if (service == nullptr || !service->IsInt()) return SelfProtectionAnswer::InvalidContent;
  return service->GetInt() != 0 ? SelfProtectionAnswer::Enabled : SelfProtectionAnswer::Disabled;
}
