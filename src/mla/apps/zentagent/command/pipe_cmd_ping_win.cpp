#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"

int PipeCmdPing(int pipeIndex, CommandHeader* header, std::string_view) {
  int rc = SendSimpleReply(pipeIndex, *header, 0);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
