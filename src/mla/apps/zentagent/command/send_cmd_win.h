#pragma once

#include <windows.h>

#include "command/command_header.h"

// Sends a reply on pipes[pipeIndex]: sets Time to UTC now, refuses a reply
// larger than cmdLength (-1), and returns GetLastError on a failed write.
int SendCmdToClient(int pipeIndex, CommandHeader* header, DWORD cmdLength);

// A simple reply (magic, command 0, the request's id, the result, no data)
// sent with SendCmdToClient; its result.
int SendSimpleReply(int pipeIndex, const CommandHeader& request, uint32_t result);
