// hold_mutex.exe NAME
//
// Creates the named mutex, takes it, prints "held" and keeps it until its
// standard input ends; then exits without releasing it, so that the mutex is
// left abandoned, as by a deployment that died holding it. On failure it
// prints "error N" and exits 1.
#include <windows.h>

#include <cstdio>

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
  std::puts("held");
  std::fflush(stdout);
  char buffer[64];
  DWORD got = 0;
  HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  while (ReadFile(input, buffer, sizeof buffer, &got, nullptr) && got > 0) {
  }
  return 0;
}
