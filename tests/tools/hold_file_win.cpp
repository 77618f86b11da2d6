// hold_file.exe PATH [--no-sharing]
//
// Opens the file for reading, sharing it for reading only, prints "held" and
// keeps it so until its standard input ends; then closes it and exits 0. A
// writer that asks for GENERIC_WRITE meanwhile gets a sharing violation, as
// it would with a reader such as a backup or an indexer on a real host. With
// --no-sharing nobody else may open it at all, readers included. On failure
// it prints "error N" and exits 1.
#include <windows.h>

#include <cstdio>
#include <cwchar>

#include "held_until_input_ends_win.h"

int wmain(int argc, wchar_t** argv) {
  bool noSharing = argc == 3 && wcscmp(argv[2], L"--no-sharing") == 0;
  if (argc != 2 && !noSharing) {
    std::fputs("usage: hold_file PATH [--no-sharing]\n", stderr);
    return 2;
  }
  HANDLE file = CreateFileW(argv[1], GENERIC_READ, noSharing ? 0 : FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    std::printf("error %lu\n", GetLastError());
    return 1;
  }
  SayHeldUntilInputEnds();
  CloseHandle(file);
  return 0;
}
