#include <cstring>

#include "server/server_reply.h"
#include "util/json_text.h"

namespace {

// The lower 32 bits of a number, whatever its JSON form; the agent does not
// check the type, so a negative value reads as a large unsigned one.
uint32_t Lower32Bits(const rapidjson::Value& value) {
  if (value.IsUint64()) return static_cast<uint32_t>(value.GetUint64());
  if (value.IsInt64()) return static_cast<uint32_t>(value.GetInt64());
  if (value.IsDouble()) return static_cast<uint32_t>(static_cast<int64_t>(value.GetDouble()));
  return 0;
}

std::string Text(const rapidjson::Value& value) { return std::string(value.GetString(), value.GetStringLength()); }

}  // namespace

ClientRequestReply ReadClientRequestReply(const std::string& text) {
  ClientRequestReply reply;
  std::string_view json = SkipByteOrderMark(text);
  rapidjson::Document doc;
  doc.Parse(json.data(), json.size());
  if (doc.HasParseError()) {
    reply.parseError = static_cast<int>(doc.GetParseError());
    return reply;
  }
  reply.type = checkServerResponseType(doc);
  if (reply.type != kClientRequestResponse) return reply;
  auto rapid = doc.FindMember("rapidHeartbeat");
  if (rapid != doc.MemberEnd()) {
    reply.hasRapidHeartbeat = true;
    reply.rapidHeartbeat = Lower32Bits(rapid->value);
  }
  reply.name = Text(doc["name"]);
  reply.clientUID = Text(doc["clientUID"]);
  // The document is copied as a C string: a zero byte ends it.
  const rapidjson::Value& request = doc["request"];
  reply.request.assign(request.GetString(), strnlen(request.GetString(), request.GetStringLength()));
  auto info = doc.FindMember("info");
  if (info != doc.MemberEnd() && info->value.IsString()) {
    reply.hasInfo = true;
    reply.info = Text(info->value);
  }
  return reply;
}
