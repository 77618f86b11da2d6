// A folder of the test's own for files named by the agent's 16-bit paths,
// in the portable tests. Files left in it are the test's to remove.
#pragma once

#include <string>

#ifdef _WIN32
#include <windows.h>

// No dot in the name: the agent numbers its per-command files before the
// first dot of the whole path.
inline std::wstring MakeScratchFolder() {
  static int count = 0;
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  std::wstring folder = std::wstring(temp) + L"zs" + std::to_wstring(GetCurrentProcessId()) + L"_" +
                        std::to_wstring(GetTickCount()) + L"_" + std::to_wstring(++count);
  CreateDirectoryW(folder.c_str(), nullptr);
  return folder;
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
