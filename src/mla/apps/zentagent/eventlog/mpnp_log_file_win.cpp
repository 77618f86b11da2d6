// The main event log, zent_mpnp in the install directory, and its rotated
// copies zent_mpnp.1 up to zent_mpnp.<s_NumberOfOldCopies>.
#include "eventlog/cache_parameters.h"
#include "eventlog/event_files_win.h"
#include "log/debug_log.h"

std::wstring s_MpnpLogPath;
HANDLE hMpnpLog = INVALID_HANDLE_VALUE;

namespace {

DWORD Attributes(const std::wstring& path) { return GetFileAttributesW(path.c_str()); }

bool IsFile(const std::wstring& path) {
  DWORD attributes = Attributes(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

}  // namespace

std::wstring MpnpFileName(int n) {
  if (n == 0) return s_MpnpLogPath;
  return s_MpnpLogPath + L"." + std::to_wstring(n);
}

bool InitializeZentmpnpLogFile() {
  if (IsLogOpen(hMpnpLog)) return true;
  // The look at the disk serves the message alone: not made below its level.
  if (s_Settings.DebugLevel >= 4 && IsFile(s_MpnpLogPath)) {
    ZENT_LOG(4, L"mpnp fw/dpi event logfile(%s) already exists\n", s_MpnpLogPath);
  }
  hMpnpLog = CreateFileW(s_MpnpLogPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                         FILE_ATTRIBUTE_NORMAL, nullptr);
  if (hMpnpLog == INVALID_HANDLE_VALUE) {
    ZENT_LOG(1, L"CreateFile for mpnp fw/dpi event log fails: error=%d\n", GetLastError());
    return false;
  }
  if (SetFilePointer(hMpnpLog, 0, nullptr, FILE_END) == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR) {
    ZENT_LOG(1, L"SetFilePointer for mpnp log file fails: error=%d\n", GetLastError());
    CloseLog(hMpnpLog);
    return false;
  }
  DWORD size = GetFileSize(hMpnpLog, nullptr);
  if (size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
    ZENT_LOG(1, L"GetFileSize of mpnp log file fails: error=%d\n", GetLastError());
    CloseLog(hMpnpLog);
    return false;
  }
  // A new file gets the log's access rules once.
  if (size == 0) SecureFileOrDirectory(s_MpnpLogPath);
  return true;
}

int RemoveOldestZentmpnpFile() {
  ZENT_LOG(4, L"Remove Oldest Zent_mpnp File\n");
  for (int n = s_NumberOfOldCopies; n >= 0; --n) {
    std::wstring name = MpnpFileName(n);
    if (!IsFile(name)) continue;
    ZENT_LOG(4, L"RemoveOldestZentmpnpFile() - deleting %s\n", name);
    if (DeleteFileW(name.c_str())) return 1;
    ZENT_LOG(1, L"RemoveOldestZentmpnpFile() - fail to delete %s. error=%d\n", name, GetLastError());
    return 0;
  }
  return 0;
}

bool RotateMpnpFiles() {
  ZENT_LOG(4, L"RotateFiles for fw.dpi log\n");
  if (s_NumberOfOldCopies < 0) return true;
  for (int n = s_NumberOfOldCopies; n >= 0; --n) {
    std::wstring current = MpnpFileName(n);
    std::wstring next = MpnpFileName(n + 1);
    ZENT_LOG(6, L"RotateFiles() - current=%s, new=%s\n", current, next);
    if (!IsFile(current)) continue;
    if (n + 1 > s_NumberOfOldCopies) {
      ZENT_LOG(4, L"RotateFiles() - deleting %s\n", current);
      if (!DeleteFileW(current.c_str())) {
        ZENT_LOG(1, L"RotateFiles() - fail to delete %s. error=%d\n", current, GetLastError());
        return false;
      }
    } else {
      ZENT_LOG(4, L"RotateFiles() - renaming %s to %s\n", current, next);
      if (!MoveFileW(current.c_str(), next.c_str())) {
        ZENT_LOG(1, L"RotateFiles() - fail to rename %s to %s. error=%d\n", current, next, GetLastError());
        return false;
      }
    }
  }
  return true;
}
