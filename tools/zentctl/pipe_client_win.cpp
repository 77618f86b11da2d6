#include "pipe_client_win.h"

#include "message_pieces.h"

namespace zentctl {

namespace {

std::string WindowsError(const char* what, DWORD error) {
  return std::string(what) + " failed, error " + std::to_string(error);
}

// Finishes one overlapped operation within the time-out. A late operation is
// cancelled and waited for, since its buffer is the caller's.
enum class IoOutcome { Done, MoreData, TimedOut, Failed };

IoOutcome FinishIo(PipeConnection& c, BOOL started, OVERLAPPED& overlapped, DWORD timeoutMs, DWORD& count,
                   DWORD& error) {
  error = started ? ERROR_SUCCESS : GetLastError();
  if (error == ERROR_IO_PENDING && WaitForSingleObject(c.event, timeoutMs) != WAIT_OBJECT_0) {
    CancelIo(c.pipe);
    GetOverlappedResult(c.pipe, &overlapped, &count, TRUE);
    return IoOutcome::TimedOut;
  }
  if (error != ERROR_SUCCESS && error != ERROR_IO_PENDING && error != ERROR_MORE_DATA) return IoOutcome::Failed;
  // Sets the count for a partial message read too.
  if (GetOverlappedResult(c.pipe, &overlapped, &count, TRUE)) return IoOutcome::Done;
  error = GetLastError();
  return error == ERROR_MORE_DATA ? IoOutcome::MoreData : IoOutcome::Failed;
}

}  // namespace

bool ConnectToPipe(const std::wstring& path, uint32_t timeoutMs, PipeConnection& c) {
  ULONGLONG deadline = GetTickCount64() + timeoutMs;
  while (true) {
    c.pipe = CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED,
                         nullptr);
    if (c.pipe != INVALID_HANDLE_VALUE) break;
    DWORD error = GetLastError();
    ULONGLONG now = GetTickCount64();
    if (error != ERROR_PIPE_BUSY) {
      c.error =
          error == ERROR_FILE_NOT_FOUND ? "no such pipe; is the agent running?" : WindowsError("CreateFile", error);
      return false;
    }
    if (now >= deadline || !WaitNamedPipeW(path.c_str(), static_cast<DWORD>(deadline - now))) {
      if (GetLastError() == ERROR_FILE_NOT_FOUND) continue;  // the last instance went away: CreateFile tells
      c.error = "every pipe instance stayed busy for the time-out";
      return false;
    }
  }
  DWORD mode = PIPE_READMODE_MESSAGE;
  c.event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (!c.event || !SetNamedPipeHandleState(c.pipe, &mode, nullptr, nullptr)) {
    c.error = WindowsError("setting up the connection", GetLastError());
    ClosePipe(c);
    return false;
  }
  return true;
}

void ClosePipe(PipeConnection& c) {
  if (c.pipe != INVALID_HANDLE_VALUE) CloseHandle(c.pipe);
  if (c.event) CloseHandle(c.event);
  c.pipe = INVALID_HANDLE_VALUE;
  c.event = nullptr;
}

bool WritePieces(PipeConnection& c, std::string_view message, const std::vector<size_t>& pieces, uint32_t gapMs,
                 uint32_t timeoutMs) {
  size_t at = 0;
  for (size_t i = 0; i < pieces.size(); ++i) {
    if (i > 0 && gapMs > 0) Sleep(gapMs);
    OVERLAPPED overlapped = {};
    overlapped.hEvent = c.event;
    DWORD count = 0, error = 0;
    BOOL started = WriteFile(c.pipe, message.data() + at, static_cast<DWORD>(pieces[i]), nullptr, &overlapped);
    IoOutcome outcome = FinishIo(c, started, overlapped, timeoutMs, count, error);
    if (outcome == IoOutcome::TimedOut) {
      c.error = "writing piece " + std::to_string(i + 1) + " took longer than the time-out";
      return false;
    }
    if (outcome != IoOutcome::Done) {
      c.error = WindowsError(("writing piece " + std::to_string(i + 1) + ": WriteFile").c_str(), error);
      return false;
    }
    at += pieces[i];
  }
  return true;
}

ReadOutcome ReadReply(PipeConnection& c, uint32_t timeoutMs, std::string& reply) {
  reply.clear();
  ULONGLONG deadline = GetTickCount64() + timeoutMs;
  bool messageEnded = false;
  while (!messageEnded) {
    ULONGLONG now = GetTickCount64();
    DWORD left = now < deadline ? static_cast<DWORD>(deadline - now) : 0;
    char buffer[kPipePieceSize];
    OVERLAPPED overlapped = {};
    overlapped.hEvent = c.event;
    DWORD count = 0, error = 0;
    BOOL started = ReadFile(c.pipe, buffer, sizeof buffer, nullptr, &overlapped);
    IoOutcome outcome = FinishIo(c, started, overlapped, left, count, error);
    if (outcome == IoOutcome::TimedOut) {
      c.error = "no reply within " + std::to_string(timeoutMs) + " ms";
      return ReadOutcome::TimedOut;
    }
    if (outcome == IoOutcome::Failed) {
      c.error = error == ERROR_BROKEN_PIPE ? "the agent closed the pipe before a whole reply came"
                                           : WindowsError("ReadFile", error);
      return ReadOutcome::Broken;
    }
    reply.append(buffer, count);
    messageEnded = outcome == IoOutcome::Done;
  }
  return ReadOutcome::Complete;
}

}  // namespace zentctl
