#include "server/store_raw_policy_win.h"

#include <windows.h>

#include "records/settings.h"
#include "util/cred_machine_encrypt.h"
#include "util/whole_file.h"

void StoreRawPolicy(const std::wstring& sourcePath, const std::wstring& rawPath) {
  if (!s_Settings.s_bConfigEncrypt) {
    CopyFileW(sourcePath.c_str(), rawPath.c_str(), FALSE);
    return;
  }
  std::string text;
  if (!loadFileToString(sourcePath, text)) return;
  // An empty outcome of the encryption is written all the same, emptying
  // the file: what stands there is never an older policy than the driver's.
  putStringToFile(rawPath, Cred_MachineEncrypt(text.c_str()));
}
