// dbwin.exe OUTPUT
//
// A debug monitor for the end-to-end tests: takes every text that any
// process of the prefix hands to OutputDebugString, through the shared
// buffer "DBWIN_BUFFER", and appends it to OUTPUT as "PID<TAB>TEXT" and a
// NUL (a text may hold line feeds of its own), flushed at once. It says
// "held" once it listens and stops when its standard input ends; it exits 1
// if it cannot listen.
#include <windows.h>

#include <cstdio>

#include "held_until_input_ends_win.h"

namespace {

HANDLE bufferReady, dataReady, stopped;
const char* view;
FILE* output;

DWORD WINAPI Listen(void*) {
  HANDLE waits[] = {dataReady, stopped};
  while (WaitForMultipleObjects(2, waits, FALSE, INFINITE) == WAIT_OBJECT_0) {
    DWORD pid = 0;
    CopyMemory(&pid, view, sizeof pid);
    std::fprintf(output, "%lu\t%.*s%c", pid, static_cast<int>(4096 - sizeof pid), view + sizeof pid, '\0');
    std::fflush(output);
    SetEvent(bufferReady);
  }
  return 0;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fputs("usage: dbwin OUTPUT\n", stderr);
    return 2;
  }
  bufferReady = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY");
  dataReady = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY");
  HANDLE mapping = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, L"DBWIN_BUFFER");
  view = mapping ? static_cast<const char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 4096)) : nullptr;
  stopped = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  output = _wfopen(argv[1], L"wb");
  if (!bufferReady || !dataReady || !view || !stopped || !output) return 1;
  HANDLE listener = CreateThread(nullptr, 0, Listen, nullptr, 0, nullptr);
  SetEvent(bufferReady);
  SayHeldUntilInputEnds();
  SetEvent(stopped);
  WaitForSingleObject(listener, INFINITE);
  std::fclose(output);
  return 0;
}
