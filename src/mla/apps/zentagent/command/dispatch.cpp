#include "command/dispatch.h"

PipeHandler SelectPipeHandler(uint32_t command, bool testMode) {
  if (command == 1) return PipeHandler::PipeCmdNotify;
  if (command == 105) return PipeHandler::PipeCmdClrCfg;
  if (testMode) {
    if (command == 101) return PipeHandler::PipeCmdPing;
    if (command == 102) return PipeHandler::PipeCmdHttp;
    if (command == 103) return PipeHandler::PipeCmdSetCfg;
    if (command == 104) return PipeHandler::PipeCmdSetRawCfg;
    if (command == 106) return PipeHandler::PipeCmdGetMetaData;
    if (command == 107) return PipeHandler::PipeCmdMulti;
    return PipeHandler::PipeCmdUnknown;
  }
  if (command == 2) return PipeHandler::HandleSelfProtectionStatus;
  if (command == 3) return PipeHandler::HandleStopService;
  return PipeHandler::PipeCmdUnknown;
}
