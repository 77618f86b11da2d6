#include "agent_like_pipe_win.h"

#include <atomic>

namespace {

// Waits for one overlapped operation; a late one is cancelled before its
// OVERLAPPED goes out of scope.
bool Finish(HANDLE pipe, OVERLAPPED& overlapped, DWORD timeoutMs) {
  if (WaitForSingleObject(overlapped.hEvent, timeoutMs) == WAIT_OBJECT_0) return true;
  CancelIo(pipe);
  DWORD count = 0;
  GetOverlappedResult(pipe, &overlapped, &count, TRUE);
  return false;
}

struct Overlapped : OVERLAPPED {
  Overlapped() : OVERLAPPED{} { hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr); }
  ~Overlapped() { CloseHandle(hEvent); }
};

}  // namespace

std::wstring UniquePipePath(const wchar_t* test) {
  static std::atomic<int> counter{0};
  return L"\\\\.\\pipe\\zent_test_" + std::wstring(test) + L"_" + std::to_wstring(GetCurrentProcessId()) + L"_" +
         std::to_wstring(++counter);
}

HANDLE CreateAgentLikePipe(const std::wstring& path) {
  return CreateNamedPipeW(path.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                          PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES, 4096, 4096,
                          1000, nullptr);
}

bool AcceptClient(HANDLE pipe, DWORD timeoutMs) {
  Overlapped overlapped;
  if (ConnectNamedPipe(pipe, &overlapped)) return true;
  DWORD error = GetLastError();
  if (error == ERROR_PIPE_CONNECTED || error == ERROR_NO_DATA) return true;
  return error == ERROR_IO_PENDING && Finish(pipe, overlapped, timeoutMs);
}

PipeRead ReadMessage(HANDLE pipe, DWORD timeoutMs) {
  PipeRead read;
  std::string message;
  while (true) {
    char buffer[4096];
    Overlapped overlapped;
    DWORD count = 0;
    DWORD error = ReadFile(pipe, buffer, sizeof buffer, nullptr, &overlapped) ? ERROR_SUCCESS : GetLastError();
    if (error == ERROR_IO_PENDING && !Finish(pipe, overlapped, timeoutMs)) return read;
    if (error != ERROR_SUCCESS && error != ERROR_IO_PENDING && error != ERROR_MORE_DATA) {
      read.clientLeft = error == ERROR_BROKEN_PIPE;
      return read;
    }
    bool whole = GetOverlappedResult(pipe, &overlapped, &count, TRUE);
    error = whole ? ERROR_SUCCESS : GetLastError();
    message.append(buffer, count);
    if (whole) {
      read.message = message;
      return read;
    }
    if (error != ERROR_MORE_DATA) {
      read.clientLeft = error == ERROR_BROKEN_PIPE;
      return read;
    }
  }
}

bool WriteMessage(HANDLE pipe, std::string_view bytes) {
  Overlapped overlapped;
  DWORD count = 0;
  if (!WriteFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, &overlapped) &&
      GetLastError() != ERROR_IO_PENDING)
    return false;
  return GetOverlappedResult(pipe, &overlapped, &count, TRUE) && count == bytes.size();
}
