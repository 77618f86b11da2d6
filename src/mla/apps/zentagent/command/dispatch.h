// Which handler a command number reaches, by command set.
#pragma once

#include <cstdint>

enum class PipeHandler {
  PipeCmdNotify,
  HandleSelfProtectionStatus,
  HandleStopService,
  PipeCmdPing,
  PipeCmdSetCfg,
  PipeCmdSetRawCfg,
  PipeCmdClrCfg,
  PipeCmdMulti,
  PipeCmdUnknown,
};

// Production has four commands; TestMode swaps them for the test set, in
// which 2 and 3 are unknown. Commands whose handlers are not built yet
// (102, 106) are answered as unknown.
PipeHandler SelectPipeHandler(uint32_t command, bool testMode);
