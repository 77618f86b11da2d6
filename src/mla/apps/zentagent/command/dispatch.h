// Which handler a command number reaches, by command set.
#pragma once

#include <cstdint>

enum class PipeHandler {
  PipeCmdNotify,
  HandleSelfProtectionStatus,
  HandleStopService,
  PipeCmdPing,
  PipeCmdGetMetaData,
  PipeCmdUnknown,
};

// Production has four commands; TestMode swaps them for the test set, in
// which 2 and 3 are unknown. Commands of the test set whose handlers are
// not built yet are answered as unknown.
PipeHandler SelectPipeHandler(uint32_t command, bool testMode);
