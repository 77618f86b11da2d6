// send_client_response WORKDIR RETRYMAX TYPE CONTENTFILE
//
// Runs the agent's sendClientResponse once, as the heartbeat thread would:
// the framework bridge is set up from WORKDIR (klfAgent_64x.dll and
// HvSock_64x.dll beside each other), HeartBeatRetryMax is RETRYMAX, the
// content is CONTENTFILE's bytes. The debug log goes to standard output at
// level 6; the last line is "result=0" or "result=1".
#include <cstdio>
#include <cstdlib>
#include <string>

#include "log/debug_log.h"
#include "records/settings.h"
#include "server/server_conversation_win.h"
#include "util/brvn_win.h"
#include "util/whole_file.h"
#include "util/wide_path_file.h"

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: send_client_response WORKDIR RETRYMAX TYPE CONTENTFILE\n");
    return 2;
  }
  s_Settings.workingDirectory = WidePathFromUtf8(argv[1]);
  s_Settings.HeartBeatRetryMax = std::atoi(argv[2]);
  s_Settings.DebugLevel = 6;
  s_DebugLog.stream = stdout;
  std::string content;
  if (!loadFileToString(WidePathFromUtf8(argv[4]), content)) return 2;
  if (!UtilBRVN::Init()) std::printf("framework bridge is down\n");
  bool accepted = sendClientResponse(content, std::atoi(argv[3]));
  std::fflush(stdout);
  std::printf("result=%d\n", accepted ? 1 : 0);
  return accepted ? 0 : 1;
}
