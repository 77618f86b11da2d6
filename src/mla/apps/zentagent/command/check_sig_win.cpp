#include "command/check_sig_win.h"

#include <psapi.h>

#include "log/debug_log.h"
#include "util/brvn_win.h"

bool CheckSigWithPid(ULONG clientPid) {
  HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, clientPid);
  if (process == nullptr) {
    ZENT_LOG(1, L"OpenProcess failed: error=%d\n", GetLastError());
    return false;
  }
  wchar_t path[MAX_PATH] = {};
  DWORD length = GetModuleFileNameExW(process, nullptr, path, MAX_PATH);
  DWORD error = GetLastError();
  // Closed on every path: a handle per fetch would otherwise pile up.
  CloseHandle(process);
  if (length == 0) {
    ZENT_LOG(1, L"GetModuleFileNameEx failed: error=%d\n", error);
    return false;
  }
  return UtilBRVN::VerifyEmbeddedSignatureAndSigner(path);
}
