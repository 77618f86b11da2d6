#include "command/pipe_server_win.h"

#include <cstring>
#include <cwchar>

#include "log/debug_log.h"
#include "records/engine_state_win.h"

namespace {

// CreateNamedPipeW is tried this many times past the first when all
// instances are busy.
constexpr int PIPE_TRY_COUNT = 5;

}  // namespace

CPipeServer::CPipeServer() : buffer(new char[kPipeBufferSize]) {}

CPipeServer::~CPipeServer() {
  Close();
  delete[] buffer;
}

void CPipeServer::Close() {
  if (hEvent != INVALID_HANDLE_VALUE && hEvent != nullptr) CloseHandle(hEvent);
  hEvent = INVALID_HANDLE_VALUE;
  if (hPipe != INVALID_HANDLE_VALUE) CloseHandle(hPipe);
  hPipe = INVALID_HANDLE_VALUE;
}

bool CPipeServer::Initial() {
  ZENT_LOG(4, L"Initializing Pipe Server: name=%s\n", kZentPipeName);
  hEvent = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  if (hEvent == nullptr) {
    hEvent = INVALID_HANDLE_VALUE;
    ZENT_LOG(1, L"CreateEvent fails\n");
    return false;
  }
  swprintf(name, 256, L"\\\\.\\pipe\\%ls", kZentPipeName);
  overlapped.hEvent = hEvent;
  hStopEvent = g_Engine.hStopEvent;

  // A null DACL: any local process may open the pipe. Who may talk to the
  // agent is decided by the signature check of the command thread.
  SECURITY_DESCRIPTOR descriptor;
  if (!InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION)) {
    ZENT_LOG(1, L"InitializeSecurityDescriptor fails\n");
    Close();
    return false;
  }
  if (!SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE)) {
    ZENT_LOG(1, L"SetSecurityDescriptorDacl fails\n");
    Close();
    return false;
  }
  SECURITY_ATTRIBUTES attributes = {sizeof(attributes), &descriptor, FALSE};

  for (int tries = 0;;) {
    hPipe = CreateNamedPipeW(name, PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                             PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES,
                             kPipeBufferSize, kPipeBufferSize, 1000, &attributes);
    if (hPipe != INVALID_HANDLE_VALUE) {
      ZENT_LOG(4, L"CreateNamedPipe succeeds\n");
      break;
    }
    if (GetLastError() != ERROR_PIPE_BUSY) {
      // These very words for every error but the busy one.
      ZENT_LOG(4, L"CreateNamedPipe fails: error=ERROR_PIPE_BUSY\n");
      Close();
      return false;
    }
    if (++tries > PIPE_TRY_COUNT) {
      ZENT_LOG(1, L"CreateNamedPipe fails: nTry(%d) > PIPE_TRY_COUNT\n", tries);
      Close();
      return false;
    }
    Sleep(100);
  }

  if (!ConnectToNewClient(hPipe, &overlapped, &pendingIO)) {
    Close();
    return false;
  }
  state = pendingIO ? 1 : 2;
  return true;
}

bool CPipeServer::ConnectToNewClient(HANDLE pipe, OVERLAPPED* ov, DWORD* pending) {
  *pending = 0;
  if (ConnectNamedPipe(pipe, ov)) {
    ZENT_LOG(4, L"ConnectNamedPipe succeeds immediately\n");
    return true;
  }
  switch (DWORD error = GetLastError()) {
    case ERROR_IO_PENDING:
      ZENT_LOG(4, L"ConnectNamedPipe: ERROR_IO_PENDING\n");
      *pending = 1;
      return true;
    case ERROR_PIPE_CONNECTED:
      ZENT_LOG(4, L"ConnectNamedPipe: ERROR_PIPE_CONNECTED\n");
      SetEvent(ov->hEvent);
      return true;
    case ERROR_NO_DATA:
      ZENT_LOG(4, L"ConnectNamedPipe: ERROR_NO_DATA\n");
      SetEvent(ov->hEvent);
      return true;
    default:
      ZENT_LOG(1, L"ConnectNamedPipe fails: error=%d\n", error);
      return false;
  }
}

bool CPipeServer::DisconnectAndReconnect() {
  ZENT_LOG(4, L"DisconnectAndReconnect\n");
  reconnected = 1;
  if (!DisconnectNamedPipe(hPipe)) {
    ZENT_LOG(1, L"DisconnectNamedPipe fails: error=%d\n", GetLastError());
    return false;
  }
  if (!ConnectToNewClient(hPipe, &overlapped, &pendingIO)) return false;
  state = pendingIO ? 1 : 2;
  return true;
}

int CPipeServer::Recv(DWORD* bytesRead, ULONG* clientPid) {
  *bytesRead = 0;
  DWORD count = 0;
  if (pendingIO) {
    HANDLE waits[] = {hEvent, hStopEvent};
    if (WaitForMultipleObjects(2, waits, FALSE, 100) != WAIT_OBJECT_0) return 1;
    // The peer's id is known only when an operation completes asynchronously.
    if (GetNamedPipeClientProcessId(hPipe, clientPid)) {
      ZENT_LOG(4, L"Get pipeclient pid (%d)\n", *clientPid);
    } else {
      ZENT_LOG(1, L"Get pipeclient pid fails: error=%d\n", GetLastError());
      *clientPid = 0;
    }
    if (!GetOverlappedResult(hPipe, &overlapped, &count, FALSE)) {
      DWORD error = GetLastError();
      if (error == ERROR_IO_INCOMPLETE || error == ERROR_IO_PENDING) {
        ZENT_LOG(6, L"GetOverlappedResult: error=%d\n", error);
        return 2;
      }
      if (error == ERROR_BROKEN_PIPE) {
        ZENT_LOG(1, L"GetOverlappedResult fails: error=ERROR_BROKEN_PIPE\n");
      } else {
        ZENT_LOG(1, L"GetOverlappedResult fails: error=%d\n", error);
      }
      DisconnectAndReconnect();
      return 1;
    }
    if (state == 1) {
      ZENT_LOG(4, L"ConnectNamedPipe succeeds asynchrounsly\n");
      state = 2;
      pendingIO = 0;
    } else if (state == 2) {
      ZENT_LOG(6, L"ReadFile: gets %d bytes asynchrounsly\n", count);
      *bytesRead = count;
      pendingIO = 0;
      return 0;
    } else {
      return 1;
    }
  }
  if (state != 2) return 1;

  std::memset(buffer, 0, 4);
  if (ReadFile(hPipe, buffer, kPipeBufferSize, &count, &overlapped)) {
    ZENT_LOG(4, L"ReadFile: gets %d bytes immediately\n", count);
    *bytesRead = count;
    return 0;
  }
  switch (DWORD error = GetLastError()) {
    case ERROR_MORE_DATA:
      // An overlapped ReadFile leaves its own count unset; the overlapped
      // result holds what this read took of the longer message.
      GetOverlappedResult(hPipe, &overlapped, &count, FALSE);
      ZENT_LOG(4, L"ReadFile: ERROR_MORE_DATA, already read %d bytes\n", count);
      *bytesRead = count;
      return 0;
    case ERROR_IO_PENDING:
      ZENT_LOG(6, L"ReadFile: ERROR_IO_PENDING\n");
      pendingIO = 1;
      return 2;
    case ERROR_HANDLE_EOF:
      ZENT_LOG(1, L"ReadFile: fails, error=ERROR_HANDLE_EOF\n");
      return 1;
    default:
      ZENT_LOG(1, L"ReadFile: fails, error=%d\n", error);
      DisconnectAndReconnect();
      return 1;
  }
}

bool FetchData(CPipeServer* pipe, std::string& out, ULONG* clientPid) {
  if (pipe->buffer == nullptr) return false;
  out.clear();
  for (;;) {
    DWORD bytes = 0;
    int result = pipe->Recv(&bytes, clientPid);
    out.append(pipe->buffer, bytes);
    if (result == 1) return false;
    if (result == 2 && !out.empty()) return true;
  }
}

bool SendData(int pipeIndex, const void* data, DWORD size) {
  ZENT_LOG(4, L"sending %d bytes\n", size);
  CPipeServer* pipe = g_Engine.pipes[pipeIndex];
  const char* at = static_cast<const char*>(data);
  DWORD left = size;
  while (left > 0) {
    char piece[kPipeBufferSize];
    DWORD count = left < kPipeBufferSize ? left : kPipeBufferSize;
    std::memcpy(piece, at, count);
    DWORD written = 0;
    // A null OVERLAPPED on this overlapped handle: each piece is one pipe
    // message, and the write returns when it is done.
    if (!WriteFile(pipe->hPipe, piece, count, &written, nullptr)) {
      if (GetLastError() == ERROR_NO_SYSTEM_RESOURCES) continue;
      ZENT_LOG(1, L"WriteFile fails: error=%d\n", GetLastError());
      return false;
    }
    at += written;
    left -= written;
  }
  ZENT_LOG(4, L"%d bytes were sent\n", size);
  return true;
}
