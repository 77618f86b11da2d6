#include <windows.h>

#include "log/debug_log.h"
#include "records/settings.h"
#include "service/self_protection_backup_win.h"

void BackUpSelfProtection(bool on) {
  if (!WritePrivateProfileStringW(L"SelfProtection", L"Service", on ? L"1" : L"0", s_Settings.iniFile.c_str())) {
    ZENT_LOG(1, L"Unable to write zent_agent.ini, err: %d\n", GetLastError());
  }
}

bool ReadSelfProtectionBackup() {
  return GetPrivateProfileIntW(L"SelfProtection", L"Service", 0, s_Settings.iniFile.c_str()) == 1;
}
