// getClientVersion: the product version of the agent's executable, which the
// long heartbeat reports as the installer's version. Read anew each time.
#include <vector>

#include "log/debug_log.h"
#include "records/settings.h"
#include "server/server_conversation_win.h"

bool getClientVersion(uint32_t version[4]) {
  std::wstring path = s_Settings.workingDirectory + L"\\ZentAgent.exe";
  DWORD handle = 0;
  DWORD size = GetFileVersionInfoSizeW(path.c_str(), &handle);
  if (size == 0) {
    ZENT_LOG(1, L"Fail to GetFileVersionInfoSize, error=%d\n", GetLastError());
    return false;
  }
  std::vector<BYTE> data(size);
  if (!GetFileVersionInfoW(path.c_str(), 0, size, data.data())) {
    ZENT_LOG(1, L"Fail to GetFileVersionInfo, error=%d\n", GetLastError());
    return false;
  }
  VS_FIXEDFILEINFO* info = nullptr;
  UINT length = 0;
  if (!VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&info), &length)) {
    ZENT_LOG(1, L"Fail to VerQueryValue, error=%d\n", GetLastError());
    return false;
  }
  if (length == 0) {
    ZENT_LOG(1, L"File info is empty.\n");
    return false;
  }
  // The product version, not the file version.
  version[0] = HIWORD(info->dwProductVersionMS);
  version[1] = LOWORD(info->dwProductVersionMS);
  version[2] = HIWORD(info->dwProductVersionLS);
  version[3] = LOWORD(info->dwProductVersionLS);
  return true;
}
