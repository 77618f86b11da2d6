// PipeCmdHttp (102, TestMode only): one heartbeat over a plain socket to the
// test server that the data names, and the reply acted upon. The dispatcher's
// thread is blocked for the whole exchange.
#include <string>

#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"
#include "server/direct_http_win.h"
#include "server/http_destination.h"
#include "server/http_request.h"
#include "server/https_post_win.h"

namespace {

// True when the destination parsed; logs why not.
bool DestinationParsed(const HttpDestination& destination) {
  switch (destination.outcome) {
    case DestinationParse::Parsed: return true;
    // Both texts keep the spelling the test servers' scripts look for.
    case DestinationParse::NoSeparators:
      ZENT_LOG_AS("PipeCmdHttp", 1, L"cannot find 2 seperators(:) in the destinatioin string\n");
      return false;
    case DestinationParse::NoTarget:
      ZENT_LOG_AS("PipeCmdHttp", 1, L"cannot find target address in the destinatioin string\n");
      return false;
    case DestinationParse::BadNumber:
      // Refused rather than thrown: a local client's typing error must not
      // end the agent.
      ZENT_LOG_AS("PipeCmdHttp", 1, L"invalid port or machine id in the destination string\n");
      return false;
  }
  return false;
}

}  // namespace

int PipeCmdHttp(int pipeIndex, CommandHeader* header, std::string_view message) {
  std::string_view data = message.substr(kCommandHeaderSize);
  ZENT_LOG(4, L"destination=%S\n", data);
  HttpDestination destination = ParseHttpDestination(data);
  bool processed = false;
  if (DestinationParsed(destination)) {
    ZENT_LOG(4, L"taregt=%S, port=%d, machineId=%d\n", destination.target, static_cast<int>(destination.port),
             static_cast<int>(destination.machineId));
    std::string response;
    if (!httpsPost(destination.target, destination.port, BuildHttpRequest(destination.machineId, kDirectHeartBeatBody),
                   response)) {
      ZENT_LOG(1, L"httpsPost failed\n");
    } else if (!(processed = processHttpResponse(destination.target, destination.port, destination.machineId,
                                                 response))) {
      ZENT_LOG(1, L"processHttpResponse failed\n");
    }
  }
  int rc = SendSimpleReply(pipeIndex, *header, processed ? 0 : 1);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
