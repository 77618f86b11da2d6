// CPipeServer: one instance of the agent's named pipe. The server end
// connects to clients and reads from them with overlapped I/O, so that the
// command thread never waits on one instance for more than 100 ms.
#pragma once

#include <windows.h>

#include <string>

constexpr wchar_t kZentPipeName[] = L"BIPC_ZENTAGENT_PIPE_7C2D91AE_4F06_4b1d_8E35_A1C06D2F7B44";
constexpr DWORD kPipeBufferSize = 4096;

class CPipeServer {
 public:
  CPipeServer();
  ~CPipeServer();
  CPipeServer(const CPipeServer&) = delete;
  CPipeServer& operator=(const CPipeServer&) = delete;

  bool Initial();
  // 0: bytes were read, more may follow; 1: nothing for now, or failed;
  // 2: a read is now pending.
  int Recv(DWORD* bytesRead, ULONG* clientPid);
  bool ConnectToNewClient(HANDLE pipe, OVERLAPPED* overlapped, DWORD* pending);
  bool DisconnectAndReconnect();
  // Closes the event and the pipe, each if valid; the engine's teardown.
  void Close();

  wchar_t name[256] = {};
  HANDLE hPipe = INVALID_HANDLE_VALUE;
  OVERLAPPED overlapped = {};
  HANDLE hEvent = INVALID_HANDLE_VALUE;
  HANDLE hStopEvent = nullptr;
  DWORD state = 0;  // 0 before Initial, 1 connecting, 2 reading
  DWORD pendingIO = 0;
  DWORD reconnected = 0;
  char* buffer = nullptr;
};

// Collects what the pipe has now; true when out holds fresh bytes and the
// pipe has no more for the moment.
bool FetchData(CPipeServer* pipe, std::string& out, ULONG* clientPid);
// Writes on pipes[pipeIndex] in pieces of at most 4,096 bytes, each a pipe
// message of its own.
bool SendData(int pipeIndex, const void* data, DWORD size);
