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
  PipeCmdGetMetaData,
  PipeCmdUnknown,
};

// Production has five commands; TestMode swaps them for the test set, in
// which 2 and 3 are unknown. The direct HTTP path (102) is not built yet and
// is answered as unknown.
PipeHandler SelectPipeHandler(uint32_t command, bool testMode);
