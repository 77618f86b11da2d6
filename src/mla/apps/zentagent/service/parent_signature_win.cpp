#include "service/parent_signature_win.h"

#include <windows.h>

#include <string>

#include "log/debug_log.h"
#include "util/brvn_win.h"
#include "util/process_win.h"

bool verifyParentProcessSignatureAndSigner() {
  DWORD parentPid = 0;
  DWORD result = utilProcess::getParentProcessPid(GetCurrentProcessId(), &parentPid);
  if (result != 0) {
    ZENT_LOG(1, L"Fail to get process id of parent process pid. nRet = %d\n", result);
    return false;
  }
  std::wstring path;
  result = utilProcess::getProcessImagePath(parentPid, path);
  if (result != 0) {
    ZENT_LOG(1, L"Fail to get image path of parent process. nRet = %d\n", result);
    return false;
  }
  if (!UtilBRVN::VerifyEmbeddedSignatureAndSigner(path)) {
    ZENT_LOG(1, L"%s does not have valid Halvane sign.\n", path);
    return false;
  }
  return true;
}
