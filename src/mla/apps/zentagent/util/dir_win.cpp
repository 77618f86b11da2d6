#include "util/dir_win.h"

#include "log/debug_log.h"

utilDir::~utilDir() {
  if (findHandle != INVALID_HANDLE_VALUE) FindClose(findHandle);
}

bool utilDir::GetNext(std::string& name) {
  WIN32_FIND_DATAA entry;
  for (;;) {
    if (findHandle == INVALID_HANDLE_VALUE) {
      std::string pattern = directoryName;
      if (pattern.empty() || (pattern.back() != '\\' && pattern.back() != '/')) pattern += '\\';
      pattern += "*.*";
      ZENT_LOG(6, L"enumerate folder: name=%S\n", pattern);
      findHandle = FindFirstFileA(pattern.c_str(), &entry);
      if (findHandle == INVALID_HANDLE_VALUE) {
        DWORD error = GetLastError();
        // An empty or missing directory is no failure to report.
        if (error != ERROR_FILE_NOT_FOUND && error != ERROR_NO_MORE_FILES) {
          ZENT_LOG(1, L"FindFirstFile failed: name=%S, err=%d\n", pattern, error);
        }
        return false;
      }
    } else if (!FindNextFileA(findHandle, &entry)) {
      DWORD error = GetLastError();
      if (error != ERROR_NO_MORE_FILES) {
        ZENT_LOG(1, L"FindNextFile failed: name=%S, err=%d\n", directoryName, error);
      }
      return false;
    }
    const char* found = entry.cFileName;
    if (found[0] == '.' && (found[1] == 0 || (found[1] == '.' && found[2] == 0))) continue;
    name.assign(found);
    ZENT_LOG(6, L"GetNext: filename=%S\n", name);
    return true;
  }
}
