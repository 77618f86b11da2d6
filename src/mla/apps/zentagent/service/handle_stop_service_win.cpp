#include "command/pipe_handlers_win.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "service/zent_control_win.h"

int HandleStopService(int pipeIndex, CommandHeader* header, std::string_view) {
  SetEvent(g_Engine.hStopEvent);
  g_Engine.stopRequested = 1;
  // The reply still goes out: the pipes are closed by the engine's teardown,
  // after this thread has been waited for.
  CZentControl::SetServiceStatus_(SERVICE_STOP_PENDING, 0, 30000);
  int rc = SendSimpleReply(pipeIndex, *header, 0);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails\n");
  return rc;
}
