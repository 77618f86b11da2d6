#include "log/debug_log.h"
#include "server/server_reply.h"
#include "util/json_text.h"

bool checkAckResponse(const std::string& text, bool* pipeClosed) {
  ZENT_LOG(6, L"checkAckResponse Server Response=>\n%S\n", text);
  std::string_view json = SkipByteOrderMark(text);
  rapidjson::Document doc;
  doc.Parse(json.data(), json.size());
  if (doc.HasParseError()) {
    ZENT_LOG(1, L"checkAckResponse json parsing error: %d\n", static_cast<int>(doc.GetParseError()));
    return false;
  }
  if (checkServerResponseType(doc) != kAckResponse) {
    ZENT_LOG(6, L"checkAckResponse not a valid ack response\n");
    return false;
  }
  int value = doc["value"].GetInt();
  if (value == HANDLER_ERROR_PIPE_CLOSED) {
    ZENT_LOG(1, L"ack response errorCode=HANDLER_ERROR_PIPE_CLOSED\n");
    if (pipeClosed) *pipeClosed = true;
    return false;
  }
  if (value == HANDLER_ERROR_SUCCESS) {
    ZENT_LOG(4, L"ack response errorCode=HANDLER_ERROR_SUCCESS\n");
    return true;
  }
  ZENT_LOG(1, L"ack response errorCode=%d\n", value);
  return false;
}
