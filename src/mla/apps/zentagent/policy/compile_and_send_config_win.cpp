#include <windows.h>

#include "log/debug_log.h"
#include "policy/compile_and_send_config_win.h"
#include "records/engine_state_win.h"
#include "util/process_win.h"

namespace {

bool IsFile(const std::wstring& path) {
  DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

}  // namespace

int CompileAndSendConfig(const std::wstring& xmlPath, const std::wstring& rbfPath, const std::wstring& compilerPath) {
  if (!IsFile(compilerPath)) {
    ZENT_LOG(1, L"cannot find the mlc.exe at %s\n", compilerPath.c_str());
    return -1;
  }
  if (!IsFile(xmlPath)) {
    ZENT_LOG(1, L"cannot find the XML file: %s\n", xmlPath.c_str());
    return -1;
  }
  // "-r" tells the compiler that the document is in clear. config.rbf is not
  // named: the compiler writes it beside itself.
  const wchar_t* options = s_Settings.s_bConfigEncrypt ? L"-c " : L"-r -c ";
  std::wstring arguments = options + (L"\"" + xmlPath + L"\"");
  DWORD exitCode = 0;
  std::string output;
  if (!utilProcess::LaunchCmd(compilerPath.c_str(), arguments.c_str(), &exitCode, output)) {
    ZENT_LOG(1, L"LaunchCmd failed: %s %s\n", compilerPath.c_str(), options);
    return -1;
  }
  if (exitCode != 0) {
    ZENT_LOG(1, L"generating config.rbf fail, error=%d\n", exitCode);
    ZENT_LOG(1, L"mlc result=\n%S\n", output.c_str());
    return -1;
  }
  int result = SendConfig(g_Engine.hDriver, rbfPath);
  if (result != 0) {
    ZENT_LOG(1, L"mlc result=\n%S\n", output.c_str());
  } else {
    ZENT_LOG(4, L"mlc result=\n%S\n", output.c_str());
  }
  return result;
}
