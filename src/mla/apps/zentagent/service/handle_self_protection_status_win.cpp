#include "command/pipe_handlers_win.h"
#include "command/self_protection_status.h"
#include "command/send_cmd_win.h"
#include "log/debug_log.h"
#include "records/engine_state_win.h"
#include "service/self_protection_backup_win.h"
#include "service/zent_control_win.h"

int HandleSelfProtectionStatus(int pipeIndex, CommandHeader* header, std::string_view message) {
  SelfProtectionRequest request = ParseSelfProtectionStatus(message);
  if (request == SelfProtectionRequest::Empty) {
    ZENT_LOG(1, L"Self protection status is empty.\n");
    return -1;
  }
  ZENT_LOG(4, L"self protection status: %S\n", message.substr(kCommandHeaderSize));
  if (request == SelfProtectionRequest::Unparsable) {
    ZENT_LOG(1, L"Unable to parse self protection status.\n");
    return -1;
  }
  if (request == SelfProtectionRequest::Invalid) {
    ZENT_LOG(1, L"Invalid self protection status.\n");
    return -1;
  }
  g_Engine.selfProtection = request == SelfProtectionRequest::On;
  // Reporting running hands the control manager the new accepted controls.
  CZentControl::SetServiceStatus_(SERVICE_RUNNING, 0, 0);
  ZENT_LOG(4, L"Backing up self protection status in ini...\n");
  BackUpSelfProtection(g_Engine.selfProtection);
  int rc = SendSimpleReply(pipeIndex, *header, 0);
  if (rc != 0) ZENT_LOG(1, L"SendCmdToClient fails: %d\n", rc);
  return rc;
}
