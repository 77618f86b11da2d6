// utilDir: the names in one directory, files and subdirectories alike, in
// the order the file system lists them, for the directory listing query.
#pragma once

#include <windows.h>

#include <string>

class utilDir {
 public:
  explicit utilDir(const std::string& directory) : directoryName(directory) {}
  ~utilDir();
  utilDir(const utilDir&) = delete;
  utilDir& operator=(const utilDir&) = delete;

  // True with the next entry's name; false at the end. "." and ".." are
  // skipped.
  bool GetNext(std::string& name);

 private:
  HANDLE findHandle = INVALID_HANDLE_VALUE;
  std::string directoryName;
};
