#include "util/brvn_self_protection.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "service/debug_log.h"
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

int ParseSelfProtectionResponse(std::string_view response, bool& enabled) {
  std::string_view text = SkipByteOrderMark(response);
  rapidjson::Document doc;
  doc.Parse(text.data(), text.size());
  if (doc.HasParseError()) {
    ZENT_LOG(1, L"Unable to parse response, rapidjosn parsing error: %d\n", static_cast<int>(doc.GetParseError()));
    return -1;
  }
  const rapidjson::Value* result = Member(doc, "system_call_result");
  const rapidjson::Value* error = result ? Member(*result, "system_call_error") : nullptr;
  if (error == nullptr || !error->IsInt()) {
    ZENT_LOG(1, L"Missing error code in KLF response.\n");
    return -1;
  }
  if (error->GetInt() != 0) {
    ZENT_LOG(1, L"KLF response with error code: %d\n", error->GetInt());
    return -1;
  }
  const rapidjson::Value* content = Member(*result, "system_call_content");
  const rapidjson::Value* enable = content ? Member(*content, "enable") : nullptr;
  const rapidjson::Value* service = enable ? Member(*enable, "service") : nullptr;
  if (service == nullptr || !service->IsInt()) {
    ZENT_LOG(1, L"Invalid system call content.\n");
    return -1;
  }
  enabled = service->GetInt() != 0;
  return 0;
}
