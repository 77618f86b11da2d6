#include <windows.h>

#include "util/path_exists.h"

bool pathExists(const std::string& path, int flags) {
  DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return false;
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) return (flags & kPathIsDirectory) != 0;
  return (flags & kPathIsFile) != 0;
}

bool PathOpensForReading(const std::string& path) {
  DWORD attributes = GetFileAttributesA(path.c_str());
  bool directory = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
  HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                            nullptr, OPEN_EXISTING, directory ? FILE_FLAG_BACKUP_SEMANTICS : 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}
