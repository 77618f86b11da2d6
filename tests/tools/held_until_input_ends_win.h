// The holders of the end-to-end tests (a file, a mutex, sockets) say "held"
// once they hold it and keep it until their standard input ends, which is
// how the tests let go of it.
#pragma once

#include <windows.h>

#include <cstdio>

inline void SayHeldUntilInputEnds() {
  std::puts("held");
  std::fflush(stdout);
  char buffer[64];
  DWORD got = 0;
  HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  while (ReadFile(input, buffer, sizeof buffer, &got, nullptr) && got > 0) {
  }
}
