#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"

int PipeCmdUnknown(int pipeIndex, CommandHeader* header, std::string_view) {
  ZENT_LOG(1, L"Unknown Command(%d) , reset!\n", header->Command);
  int rc = SendSimpleReply(pipeIndex, *header, 1);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
