// The baseline of the pipe benchmark: a server end made as the agent makes
// its own (duplex, overlapped, message mode, 4,096-byte buffers) that answers
// every message at once with a 36-byte reply, with no polling, no signature
// check and no log. What the agent adds to a round trip shows against it.
#include <windows.h>

#include <cstdio>
#include <cstring>

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: bare_pipe_server PIPE-NAME\n");
    return 2;
  }
  wchar_t path[256];
  swprintf(path, 256, L"\\\\.\\pipe\\%ls", argv[1]);
  HANDLE pipe = CreateNamedPipeW(path, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, 1,
                                 4096, 4096, 1000, nullptr);
  if (pipe == INVALID_HANDLE_VALUE) return 1;
  std::printf("ready\n");
  std::fflush(stdout);
  for (;;) {
    if (!ConnectNamedPipe(pipe, nullptr) && GetLastError() != ERROR_PIPE_CONNECTED) return 1;
    char request[4096];
    DWORD count = 0;
    while (ReadFile(pipe, request, sizeof request, &count, nullptr)) {
      char reply[36] = {'Q', 'T', 'N', 'Z'};
      std::memcpy(reply + 8, request + 8, 4);  // the request's id
      DWORD written = 0;
      WriteFile(pipe, reply, sizeof reply, &written, nullptr);
    }
    DisconnectNamedPipe(pipe);
  }
}
