// Which handler a command number reaches, by command set.
#pragma once

#include <cstdint>

enum class PipeHandler {
  PipeCmdNotify,
  HandleSelfProtectionStatus,
  HandleStopService,
  PipeCmdPing,
  PipeCmdHttp,
  PipeCmdSetCfg,
  PipeCmdSetRawCfg,
  PipeCmdClrCfg,
  PipeCmdMulti,
  PipeCmdGetMetaData,
  PipeCmdUnknown,
};

// Production has five commands; TestMode swaps them for the test set, in
// which 2 and 3 are unknown.
PipeHandler SelectPipeHandler(uint32_t command, bool testMode);
