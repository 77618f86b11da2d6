// A scratch file for a test: read and write, gone when closed. The Windows C
// runtime's tmpfile() makes its names in the root of the current drive from
// a small set, and under Wine two test processes at once may collide on
// one; so on Windows the name comes from GetTempFileNameW in the temporary
// folder.
#pragma once

#include <cstdio>

#ifdef _WIN32
#include <windows.h>

inline FILE* OpenScratchFile() {
  wchar_t folder[MAX_PATH];
  wchar_t path[MAX_PATH];
  if (GetTempPathW(MAX_PATH, folder) == 0 || GetTempFileNameW(folder, L"zt", 0, path) == 0) return nullptr;
  // "D": deleted when closed.
  return _wfopen(path, L"w+bD");
}
#else
inline FILE* OpenScratchFile() { return std::tmpfile(); }
#endif
