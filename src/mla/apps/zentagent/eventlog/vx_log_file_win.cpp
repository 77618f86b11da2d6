// The single-record files: one uuid-named file per record under
// <suite directory>\Misc\KLF_IPRODUCT_ZENT, which the suite collects.
#include <rpc.h>

#include "eventlog/event_files_win.h"
#include "log/debug_log.h"

std::wstring s_VxLogDirectory;
HANDLE hVxLog = INVALID_HANDLE_VALUE;

bool InitializeVXLogFile() {
  if (!CreateDirectoryW(s_VxLogDirectory.c_str(), nullptr)) {
    DWORD error = GetLastError();
    if (error != ERROR_ALREADY_EXISTS) {
      ZENT_LOG(1, L"CreateDirectory for VX fw/dpi event log fails: error=%d\n", error);
      return false;
    }
  }
  UUID uuid;
  UuidCreate(&uuid);
  RPC_WSTR text = nullptr;
  std::wstring path = s_VxLogDirectory + L"\\";
  if (UuidToStringW(&uuid, &text) == RPC_S_OK) {
    path += reinterpret_cast<const wchar_t*>(text);
    RpcStringFreeW(&text);
  }
  if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
    ZENT_LOG(4, L"VX fw/dpi event logfile(%s) already exists\n", path);
    return false;
  }
  hVxLog = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (hVxLog == INVALID_HANDLE_VALUE) {
    ZENT_LOG(1, L"CreateFile for VX fw/dpi event log fails: error=%d\n", GetLastError());
    return false;
  }
  SecureFileOrDirectory(path);
  return true;
}
