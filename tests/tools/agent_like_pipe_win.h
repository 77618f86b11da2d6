// The server end of a pipe made as the agent makes its own, for tests that
// watch what a client writes and answer it by hand.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

// A name no other test uses at the same time.
std::wstring UniquePipePath(const wchar_t* test);

// Duplex, overlapped, message mode, 4,096-byte buffers: the agent's settings.
HANDLE CreateAgentLikePipe(const std::wstring& path);

// True once a client connected (it may have left again since).
bool AcceptClient(HANDLE pipe, DWORD timeoutMs);

struct PipeRead {
  std::optional<std::string> message;  // one whole pipe message
  bool clientLeft = false;             // no message: the client closed its end
};

// Reads one pipe message, however many 4,096-byte reads it takes.
PipeRead ReadMessage(HANDLE pipe, DWORD timeoutMs);

bool WriteMessage(HANDLE pipe, std::string_view bytes);
