// The pipe command handlers. Each gets the pipe index to reply on, the
// request's header and the whole message (header first, data at offset 36),
// and replies by itself; the dispatcher ignores what they return.
#pragma once

#include <string_view>

#include "command/command_header.h"

int PipeCmdNotify(int pipeIndex, CommandHeader* header, std::string_view message);
int PipeCmdPing(int pipeIndex, CommandHeader* header, std::string_view message);
int PipeCmdHttp(int pipeIndex, CommandHeader* header, std::string_view message);
int PipeCmdGetMetaData(int pipeIndex, CommandHeader* header, std::string_view message);
int PipeCmdUnknown(int pipeIndex, CommandHeader* header, std::string_view message);
int HandleSelfProtectionStatus(int pipeIndex, CommandHeader* header, std::string_view message);
int PipeCmdMulti(int pipeIndex, CommandHeader* header, std::string_view message);
int HandleStopService(int pipeIndex, CommandHeader* header, std::string_view message);
int PipeCmdSetCfg(int pipeIndex, CommandHeader* header, std::string_view message);
int PipeCmdSetRawCfg(int pipeIndex, CommandHeader* header, std::string_view message);
// The clear command has no data to read.
int PipeCmdClrCfg(int pipeIndex, CommandHeader* header);
