#include "upkeep/system_tool_win.h"

#include <windows.h>

std::wstring SystemToolPath(const wchar_t* name) {
  wchar_t folder[MAX_PATH] = L"";
  UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  if (length >= MAX_PATH) length = 0;
  return std::wstring(folder, length) + name;
}
