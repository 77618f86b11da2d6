// Reassembly of messages on the three pipe instances: what arrived of the
// current message per pipe, whether its header is known, and the one header
// copy the pipes share.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "command/command_header.h"

constexpr int kReassemblyPipes = 3;

struct PipeReassembly {
  std::string accum[kReassemblyPipes];
  uint32_t headerSeen[kReassemblyPipes] = {};
  // Shared by the pipes although the flag that says it is valid is per pipe:
  // pieces of two long messages arriving at once make the later header
  // apply to both.
  CommandHeader header = {};
};

enum class ReassemblyStep { NeedMore, BadMagic, Complete };

// Adds authenticated bytes to a pipe's message. Complete means accum holds
// at least 36 + DataLength bytes; BadMagic means the header is no command's.
ReassemblyStep AppendPiece(PipeReassembly& r, int pipe, std::string_view bytes);

// After a message was handled or refused: the pipe waits for a new header.
void ResetPipe(PipeReassembly& r, int pipe);

// A failed fetch drops what arrived but keeps the header flag, so the next
// bytes continue the old message.
void DropPipeBytes(PipeReassembly& r, int pipe);
