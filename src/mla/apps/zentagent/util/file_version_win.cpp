#include <windows.h>

#include <vector>

#include "util/file_version_win.h"

bool GetFileVersion(const std::wstring& path, uint16_t version[4]) {
  DWORD handle = 0;
  DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
  if (size == 0) return false;
  std::vector<char> block(size);
  if (!GetFileVersionInfoW(path.c_str(), 0, size, block.data())) return false;
  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &length) || fixed == nullptr) {
    return false;
  }
  version[0] = HIWORD(fixed->dwFileVersionMS);
  version[1] = LOWORD(fixed->dwFileVersionMS);
  version[2] = HIWORD(fixed->dwFileVersionLS);
  version[3] = LOWORD(fixed->dwFileVersionLS);
  return true;
}
