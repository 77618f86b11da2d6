// The server's JSON messages other than the heartbeat: its replies
// (acknowledgements and client requests) and the agent's ClientResponse.
#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <string>

// Classification of a parsed reply.
constexpr int kAckResponse = 0;
constexpr int kClientRequestResponse = 1;
constexpr int kOtherResponse = 2;

// Result codes of an acknowledgement's value.
constexpr int HANDLER_ERROR_SUCCESS = 0;
constexpr int HANDLER_ERROR_PIPE_CLOSED = -1002;

// The one response type the agent sends: a metadata result document.
constexpr int kUpdateHostMetaDataResponse = 1;

int checkServerResponseType(const rapidjson::Value& value);
// True for an accepted acknowledgement; sets *pipeClosed (never clears it)
// when the server asks for another try.
bool checkAckResponse(const std::string& text, bool* pipeClosed);

// A heartbeat's reply taken apart for getClientRequestXml.
struct ClientRequestReply {
  int parseError = 0;        // RapidJSON's code; 0 when the text parsed
  int type = kOtherResponse;
  bool hasRapidHeartbeat = false;
  uint32_t rapidHeartbeat = 0;  // lower 32 bits of the number
  std::string name, clientUID;
  std::string request;  // up to its first zero byte
  bool hasInfo = false;
  std::string info;     // bytes as they came, not checked
};
ClientRequestReply ReadClientRequestReply(const std::string& text);

// The ClientResponse message carrying one result document, pretty-printed
// with an indent of 4; false when the template is not an object.
bool BuildClientResponse(const std::string& content, std::string& message);
