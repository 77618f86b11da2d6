#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"
#include "records/engine_state_win.h"

int PipeCmdNotify(int pipeIndex, CommandHeader* header, std::string_view) {
  // The heartbeat thread wakes before the client hears back.
  SetEvent(g_Engine.s_hNotifyEvent);
  int rc = SendSimpleReply(pipeIndex, *header, 0);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
