// Process entry of ZentAgent.exe: one argument selects the command. The
// suite's patch agent reads the exit code.
#include <windows.h>

#include <cstring>
#include <string>

#include "service/debug_log.h"
#include "service/init_service_win.h"
#include "service/zent_control_win.h"
#include "util/text_win.h"

namespace {

// The argument is kept, to be logged, up to this many bytes.
constexpr size_t kCmdLimit = 256;

}  // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR lpCmdLine, int) {
  if (!InitService(lpCmdLine)) return -1;
  std::string cmd(lpCmdLine, strnlen(lpCmdLine, kCmdLimit));
  ZENT_LOG(4, L"cmd: %S\n", cmd);

  int code = 0;
  // The comparison is exact: another case or a trailing blank is invalid.
  // "-install" and "-delete" come with driver installation and removal;
  // until then this build treats them as the invalid argument they are to it.
  if (std::strcmp(lpCmdLine, "-service") == 0) {
    ZENT_LOG(2, L"ZentAgent -service\n");
    wchar_t serviceName[] = L"ZentAgent";
    SERVICE_TABLE_ENTRYW table[] = {{serviceName, CZentControl::ServiceMain_}, {nullptr, nullptr}};
    if (!StartServiceCtrlDispatcherW(table)) {
      ZENT_LOG(1, L"Failed to StartServiceCtrlDispatcher [%d]!\n", GetLastError());
    }
  } else {
    ZENT_LOG(1, L"invalid parameter %s\n", ansiToWide(lpCmdLine));
  }

  ZENT_LOG(4, L"lpCmdLine(%S), cmd(%S), code(%d)\n", lpCmdLine, cmd, code);
  DeinitService(lpCmdLine);
  return code;
}
