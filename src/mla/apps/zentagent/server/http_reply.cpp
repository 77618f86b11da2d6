#include "server/http_reply.h"

#include <rapidjson/document.h>

HttpReplyCut CutHttpReply(std::string& response) {
  size_t blank = response.size() < 4 ? std::string::npos : response.find("\r\n\r\n");
  if (blank == std::string::npos) return HttpReplyCut::NoBlankLine;
  response.erase(0, blank);
  size_t open = response.find('{');
  if (open == std::string::npos) return HttpReplyCut::NoOpeningBrace;
  response.erase(0, open);
  size_t close = response.rfind('}');
  if (close == std::string::npos) return HttpReplyCut::NoClosingBrace;
  response.erase(close + 1);
  return HttpReplyCut::Cut;
}

HttpReplyContent ReadHttpReplyMembers(const std::string& json) {
  HttpReplyContent content;
  rapidjson::Document doc;
  doc.Parse(json.c_str(), json.size());
  if (doc.HasParseError()) {
    content.outcome = HttpReplyMembers::ParseError;
    content.parseError = static_cast<int>(doc.GetParseError());
    return content;
  }
  if (!doc.IsObject()) {
    content.outcome = HttpReplyMembers::NotObject;
    return content;
  }
  auto name = doc.FindMember("name");
  auto clientUID = doc.FindMember("clientUID");
  auto request = doc.FindMember("request");
  if (name == doc.MemberEnd() || clientUID == doc.MemberEnd() || request == doc.MemberEnd()) {
    content.outcome = HttpReplyMembers::MissingMember;
    return content;
  }
  if (!name->value.IsString() || !clientUID->value.IsString() || !request->value.IsString()) {
    content.outcome = HttpReplyMembers::MemberNotString;
    return content;
  }
  content.name.assign(name->value.GetString(), name->value.GetStringLength());
  content.clientUID.assign(clientUID->value.GetString(), clientUID->value.GetStringLength());
  content.request = request->value.GetString();
  if (content.request.empty()) content.outcome = HttpReplyMembers::EmptyRequest;
  return content;
}
