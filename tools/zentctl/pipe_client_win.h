// zentctl's end of the agent's pipe: connect, write pieces, read one reply,
// each within a time-out, so that a silent agent never hangs the tool.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zentctl {

struct PipeConnection {
  HANDLE pipe = INVALID_HANDLE_VALUE;
  HANDLE event = nullptr;  // for the overlapped writes and reads
  std::string error;       // why the last operation failed, for the user
};

// Waits up to timeoutMs for a free instance; switches the handle to message
// reads.
bool ConnectToPipe(const std::wstring& path, uint32_t timeoutMs, PipeConnection& connection);
void ClosePipe(PipeConnection& connection);

// Each piece is one WriteFile, thus one pipe message; gapMs between pieces.
bool WritePieces(PipeConnection& connection, std::string_view message, const std::vector<size_t>& pieces,
                 uint32_t gapMs, uint32_t timeoutMs);

enum class ReadOutcome { Complete, TimedOut, Broken };

// Reads one whole pipe message: the agent writes each reply in one piece.
ReadOutcome ReadReply(PipeConnection& connection, uint32_t timeoutMs, std::string& reply);

}  // namespace zentctl
