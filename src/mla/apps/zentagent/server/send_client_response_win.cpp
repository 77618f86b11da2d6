// sendClientResponse: a metadata result posted back to the server. Only the
// server's "pipe closed" answer is worth another try.
#include "log/debug_log.h"
#include "records/settings.h"
#include "server/server_conversation_win.h"
#include "server/server_reply.h"

bool sendClientResponse(const std::string& content, int responseType) {
  if (responseType != kUpdateHostMetaDataResponse) return false;
  std::string message;
  if (!BuildClientResponse(content, message)) {
    ZENT_LOG(1, L"Json content is incorrect\n");
    return false;
  }
  // The flag is cleared once, before the loop: after one "pipe closed" every
  // attempt is made, even after an accepted one, so the server may get the
  // message twice. That is the settled behaviour: do not stop early.
  bool pipeClosed = false;
  bool accepted = false;
  if (s_Settings.HeartBeatRetryMax < 0) return accepted;
  int attempt = 0;
  do {
    std::string reply;
    if (!talkToZentServer(message, reply, "")) {
      ZENT_LOG(1, L"talkToZentServer for sendClientResponse(responseType=%d) failed\n", responseType);
      break;
    }
    ZENT_LOG(4, L"talkToZentServer for sendClientResponse(responseType=%d) succeeded\n", responseType);
    accepted = checkAckResponse(reply, &pipeClosed);
    if (!pipeClosed) break;
    ZENT_LOG(1, L"sendClientResponse failed & retrying, now sleep %d ms\n", 2000);
    Sleep(2000);
    ++attempt;
  } while (attempt <= s_Settings.HeartBeatRetryMax);
  return accepted;
}
