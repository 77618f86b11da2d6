// The direct path's reply cut and member checks over any bytes: the cut
// against a model written apart from it, and the members read without a
// fault, a request that is read being neither empty nor holding a zero byte.
//
// Input: the raw bytes a test server sent back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "server/http_reply.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

// The blank line, then the first "{" at or behind it, then the last "}"
// at or behind that "{".
HttpReplyCut CutByModel(const std::string& in, std::string& out) {
  size_t blank = std::string::npos;
  for (size_t i = 0; i + 4 <= in.size(); ++i) {
    if (in.compare(i, 4, "\r\n\r\n") == 0) {
      blank = i;
      break;
    }
  }
  if (blank == std::string::npos) return HttpReplyCut::NoBlankLine;
  size_t open = std::string::npos;
  for (size_t i = blank; i < in.size(); ++i) {
    if (in[i] == '{') {
      open = i;
      break;
    }
  }
  if (open == std::string::npos) return HttpReplyCut::NoOpeningBrace;
  size_t close = std::string::npos;
  for (size_t i = in.size(); i-- > open;) {
    if (in[i] == '}') {
      close = i;
      break;
    }
  }
  if (close == std::string::npos) return HttpReplyCut::NoClosingBrace;
  out = in.substr(open, close - open + 1);
  return HttpReplyCut::Cut;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string raw(reinterpret_cast<const char*>(data), size);
  std::string cut = raw;
  std::string expected;
  HttpReplyCut outcome = CutHttpReply(cut);
  Check(outcome == CutByModel(raw, expected));
  if (outcome != HttpReplyCut::Cut) return 0;
  Check(cut == expected);
  HttpReplyContent content = ReadHttpReplyMembers(cut);
  if (content.outcome == HttpReplyMembers::ParseError) Check(content.parseError != 0);
  if (content.outcome == HttpReplyMembers::Read) {
    Check(!content.request.empty());
    Check(content.request.find('\0') == std::string::npos);
  }
  if (content.outcome == HttpReplyMembers::EmptyRequest) Check(content.request.empty());
  return 0;
}
