#include <cstdio>

#include "log/debug_log.h"
#include "server/direct_http_win.h"
#include "server/http_reply.h"
#include "util/wide_path_file.h"

bool putJasonToFile(std::string& response, const std::wstring& xmlPath) {
  switch (CutHttpReply(response)) {
    case HttpReplyCut::NoBlankLine:
      ZENT_LOG(1, L"cannot find \"r.n.r.n\"\n");
      return false;
    case HttpReplyCut::NoOpeningBrace:
      ZENT_LOG(1, L"cannot find leading \"{\"\n");
      return false;
    case HttpReplyCut::NoClosingBrace:
      ZENT_LOG(1, L"cannot find \"}\"\n");
      return false;
    case HttpReplyCut::Cut: break;
  }
  ZENT_LOG(6, L"Json content:\n%S\n", response);
  HttpReplyContent content = ReadHttpReplyMembers(response);
  switch (content.outcome) {
    case HttpReplyMembers::ParseError:
      ZENT_LOG(1, L"putJasonToFile json parsing error: %d\n", content.parseError);
      return false;
    case HttpReplyMembers::NotObject:
      ZENT_LOG(1, L"json content is incorrect\n");
      return false;
    case HttpReplyMembers::MissingMember:
      ZENT_LOG(1, L"cannot find member name/clientUID/request\n");
      return false;
    case HttpReplyMembers::MemberNotString:
      ZENT_LOG(1, L"name/clientUID/request is not string\n");
      return false;
    case HttpReplyMembers::Read:
    case HttpReplyMembers::EmptyRequest: break;
  }
  ZENT_LOG(6, L"Json members=>\nname: %S\nclientUID: %S\nrequest: %S\n", content.name, content.clientUID,
           content.request);
  if (content.outcome == HttpReplyMembers::EmptyRequest) {
    ZENT_LOG(1, L"xml content is null\n");
    return false;
  }
  // Text mode: the document's line ends become CR LF, as on a Windows editor's save.
  FILE* file = OpenWidePathFile(xmlPath, "w");
  if (file == nullptr) {
    ZENT_LOG(1, L"can't open %s\n", xmlPath.c_str());
    return false;
  }
  bool written = std::fwrite(content.request.data(), 1, content.request.size(), file) == content.request.size();
  std::fclose(file);
  if (!written) {
    ZENT_LOG(1, L"failed to write file(%s)\n", xmlPath.c_str());
    return false;
  }
  return true;
}
