// A folder of the test's own for files named by the agent's 16-bit paths,
// in the portable tests. Files left in it are the test's to remove.
#pragma once

#include <string>

#ifdef _WIN32
#include <windows.h>

inline std::wstring MakeScratchFolder() {
  wchar_t folder[MAX_PATH];
  wchar_t path[MAX_PATH];
  GetTempPathW(MAX_PATH, folder);
  GetTempFileNameW(folder, L"zs", 0, path);
  DeleteFileW(path);
  CreateDirectoryW(path, nullptr);
  return path;
}
#else
#include <cstdlib>

inline std::wstring MakeScratchFolder() {
  char name[] = "/tmp/zent_scratch_XXXXXX";
  const char* made = mkdtemp(name);
  std::string text = made == nullptr ? std::string("/tmp") : std::string(made);
  return std::wstring(text.begin(), text.end());
}
#endif

// The folder's separator in the agent's paths on this build.
#ifdef _WIN32
inline constexpr wchar_t kScratchSeparator[] = L"\\";
#else
inline constexpr wchar_t kScratchSeparator[] = L"/";
#endif
