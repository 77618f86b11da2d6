// idle_waits_win.exe: the idle benchmark's baseline. The same waits an idle
// agent keeps, and nothing else: what Wine costs a process that waits as the
// agent does.
//
//   three pipe instances turned in 100 ms waits on overlapped
//   ConnectNamedPipe, as the command thread does;
//   a 500 ms loop and a 1,000 ms loop (the log flush);
//   three infinite waits (the heartbeat thread with the schedule off, the
//   hourly telemetry's wait, the service's control dispatcher);
//   one infinite wait on two change notifications of a folder, as the
//   configuration watcher keeps.
//
//   idle_waits_win.exe FOLDER
//
// Prints "ready" once every wait is in place and runs until it is killed.
#include <windows.h>

#include <cstdio>
#include <string>

namespace {

HANDLE g_stop = nullptr;
std::wstring g_folder;

constexpr int kPipeCount = 3;

DWORD WINAPI PipeTurns(LPVOID) {
  HANDLE pipes[kPipeCount];
  HANDLE events[kPipeCount];
  OVERLAPPED overlapped[kPipeCount] = {};
  std::wstring name = L"\\\\.\\pipe\\ZentIdleBaseline_" + std::to_wstring(GetCurrentProcessId());
  for (int i = 0; i < kPipeCount; ++i) {
    pipes[i] = CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, kPipeCount, 4096, 4096, 5000,
                                nullptr);
    events[i] = CreateEventW(nullptr, TRUE, TRUE, nullptr);
    overlapped[i].hEvent = events[i];
    ConnectNamedPipe(pipes[i], &overlapped[i]);
  }
  for (int index = 0;; index = (index + 1) % kPipeCount) {
    if (WaitForSingleObject(g_stop, 0) == WAIT_OBJECT_0) return 0;
    HANDLE waits[] = {events[index], g_stop};
    WaitForMultipleObjects(2, waits, FALSE, 100);
  }
}

DWORD WINAPI Loop500(LPVOID) {
  while (WaitForSingleObject(g_stop, 500) == WAIT_TIMEOUT) {
  }
  return 0;
}

DWORD WINAPI Loop1000(LPVOID) {
  HANDLE other = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  HANDLE waits[] = {g_stop, other};
  while (WaitForMultipleObjects(2, waits, FALSE, 1000) == WAIT_TIMEOUT) {
  }
  return 0;
}

DWORD WINAPI InfiniteWait(LPVOID) {
  HANDLE other = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  HANDLE waits[] = {g_stop, other};
  WaitForMultipleObjects(2, waits, FALSE, INFINITE);
  return 0;
}

DWORD WINAPI FolderWatch(LPVOID) {
  HANDLE waits[] = {g_stop,
                    FindFirstChangeNotificationW(g_folder.c_str(), FALSE, FILE_NOTIFY_CHANGE_LAST_WRITE),
                    FindFirstChangeNotificationW(g_folder.c_str(), FALSE, FILE_NOTIFY_CHANGE_FILE_NAME)};
  if (waits[1] == INVALID_HANDLE_VALUE || waits[2] == INVALID_HANDLE_VALUE) {
    std::printf("change notification failed: %lu\n", GetLastError());
    std::fflush(stdout);
    return 1;
  }
  for (;;) {
    DWORD which = WaitForMultipleObjects(3, waits, FALSE, INFINITE);
    if (which == WAIT_OBJECT_0 || which == WAIT_FAILED) return 0;
    FindNextChangeNotification(waits[which - WAIT_OBJECT_0]);
  }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) {
    std::printf("usage: idle_waits_win.exe FOLDER\n");
    return 2;
  }
  g_folder = argv[1];
  g_stop = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  LPTHREAD_START_ROUTINE threads[] = {PipeTurns, Loop500, Loop1000, InfiniteWait, InfiniteWait, InfiniteWait,
                                      FolderWatch};
  for (LPTHREAD_START_ROUTINE routine : threads) CreateThread(nullptr, 0, routine, nullptr, 0, nullptr);
  std::printf("ready\n");
  std::fflush(stdout);
  WaitForSingleObject(g_stop, INFINITE);
  return 0;
}
