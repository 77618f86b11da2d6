// A folder of the test process's own under the temporary folder, standing
// for the agent's working directory.
#pragma once

#include <windows.h>

#include <string>

inline std::wstring MakeTempFolder(const wchar_t* name) {
  wchar_t temp[MAX_PATH];
  GetTempPathW(MAX_PATH, temp);
  std::wstring folder = std::wstring(temp) + name + L"_" + std::to_wstring(GetCurrentProcessId());
  CreateDirectoryW(folder.c_str(), nullptr);
  return folder;
}
