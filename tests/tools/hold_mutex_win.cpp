// hold_mutex.exe NAME
//
// Creates the named mutex, takes it, prints "held" and keeps it until its
// standard input ends; then exits without releasing it, so that the mutex is
// left abandoned, as by a deployment that died holding it. On failure it
// prints "error N" and exits 1.
#include <windows.h>

#include <cstdio>

#include "held_until_input_ends_win.h"

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fputs("usage: hold_mutex NAME\n", stderr);
    return 2;
  }
  HANDLE mutex = CreateMutexW(nullptr, FALSE, argv[1]);
  if (mutex == nullptr || WaitForSingleObject(mutex, INFINITE) != WAIT_OBJECT_0) {
    std::printf("error %lu\n", GetLastError());
    return 1;
  }
  SayHeldUntilInputEnds();
  return 0;
}
