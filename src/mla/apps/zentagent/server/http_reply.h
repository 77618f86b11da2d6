// A direct HTTP reply taken apart: the JSON object cut out of the raw
// response, and the members that carry the server's command document.
#pragma once

#include <string>

enum class HttpReplyCut {
  Cut,
  NoBlankLine,     // shorter than 4 bytes, or no "\r\n\r\n"
  NoOpeningBrace,  // no "{" behind the blank line
  NoClosingBrace,  // no "}" behind that "{"
};

// Cuts the response in place down to the text from the first "{" behind the
// first "\r\n\r\n" to the last "}". The status line and the headers are not
// read: the status code plays no part.
HttpReplyCut CutHttpReply(std::string& response);

enum class HttpReplyMembers {
  Read,
  ParseError,
  NotObject,
  MissingMember,    // name, clientUID or request
  MemberNotString,
  EmptyRequest,     // the members are there, request is empty
};

// name and info are not looked at here, and no rapidHeartbeat is taken.
struct HttpReplyContent {
  HttpReplyMembers outcome = HttpReplyMembers::Read;
  int parseError = 0;  // RapidJSON's code
  std::string name, clientUID;
  std::string request;  // up to its first zero byte, as the heartbeat path copies it
};

HttpReplyContent ReadHttpReplyMembers(const std::string& json);
