// Process entry of ZentAgent.exe: one argument selects the command. The
// suite's patch agent runs "-install" and "-delete" and reads the exit code.
#include <windows.h>

#include <cstring>
#include <string>

#include "driver/network_component_win.h"
#include "driver/network_results.h"
#include "log/debug_log.h"
#include "service/deployment_mutex_win.h"
#include "service/init_service_win.h"
#include "service/parent_signature_win.h"
#include "service/try_to_load_driver_config_win.h"
#include "service/zent_control_win.h"
#include "upkeep/remove_incompatible_agent_win.h"
#include "util/text_win.h"

namespace {

// The argument is kept, to be logged, up to this many bytes.
constexpr size_t kCmdLimit = 256;
constexpr int kParentNotSigned = -115;

int Install(HANDLE* mutex) {
  // Other agents are looked at before anything is taken or touched.
  if (int code = RemoveIncompatibleAgent()) return code;
  ZENT_LOG_AS("WinMain", 2, L"ZentAgent -install\n");
  if (int code = DeploymentCriticalSection(mutex)) return code;
  int code = CZentControl::ServiceInstall();
  if (code == 0) {
    TryToLoadDriverConfig();
  } else {
    // Also said for -110, which is a success whose rules wait for the reboot.
    ZENT_LOG_AS("WinMain", 2, L"Unable to install service.\n");
  }
  return code;
}

int Delete(HANDLE* mutex) {
  ZENT_LOG_AS("WinMain", 2, L"ZentAgent -delete\n");
  if (!verifyParentProcessSignatureAndSigner()) {
    ZENT_LOG_AS("WinMain", 2, L"Parent process is not signed by Halvane. Skip uninstall procedure.\n");
    return kParentNotSigned;
  }
  if (int code = DeploymentCriticalSection(mutex)) return code;
  int code = CZentControl::StopService();
  if (code == ERROR_SERVICE_DOES_NOT_EXIST) {
    ZENT_LOG_AS("WinMain", 2,
                L"Try to stop service, but ZentAgent service does not exist. Keep going further steps.\n");
  } else if (code != 0) {
    ZENT_LOG_AS("WinMain", 2, L"Unable to stop service.\n");
    return code;
  }
  HRESULT uninstalled = ndis_uninstall_driver();
  if (uninstalled < 0) {
    // The service stays registered beside a driver that could not go.
    ZENT_LOG_AS("WinMain", 1, L"Uninstall driver fails.\n");
    code = kDriverUninstallFailed;
  } else {
    code = uninstalled == kNetcfgSReboot ? kDriverRebootRequired : 0;
    code = CZentControl::ServiceDelete(code);
  }
  if (code == 0) {
    ZENT_LOG_AS("WinMain", 2, L"ZentAgent -delete finished successfully.\n");
  } else if (code == ERROR_SERVICE_DOES_NOT_EXIST) {
    ZENT_LOG_AS("WinMain", 2,
                L"Try to delete service, but ZentAgent service does not exist. Keep going further steps.\n");
    ZENT_LOG_AS("WinMain", 2, L"ZentAgent -delete finished successfully.\n");
  } else {
    ZENT_LOG_AS("WinMain", 2, L"Unable to uninstall service.\n");
  }
  return code;
}

}  // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR lpCmdLine, int) {
  if (!InitService(lpCmdLine)) return -1;
  std::string cmd(lpCmdLine, strnlen(lpCmdLine, kCmdLimit));
  ZENT_LOG(4, L"cmd: %S\n", cmd);

  HANDLE mutex = nullptr;
  int code = 0;
  // The comparison is exact: another case or a trailing blank is invalid.
  if (std::strcmp(lpCmdLine, "-service") == 0) {
    ZENT_LOG(2, L"ZentAgent -service\n");
    wchar_t serviceName[] = L"ZentAgent";
    SERVICE_TABLE_ENTRYW table[] = {{serviceName, CZentControl::ServiceMain_}, {nullptr, nullptr}};
    if (!StartServiceCtrlDispatcherW(table)) {
      ZENT_LOG(1, L"Failed to StartServiceCtrlDispatcher [%d]!\n", GetLastError());
    }
  } else if (std::strcmp(lpCmdLine, "-install") == 0) {
    code = Install(&mutex);
  } else if (std::strcmp(lpCmdLine, "-delete") == 0) {
    code = Delete(&mutex);
  } else {
    ZENT_LOG(1, L"invalid parameter %s\n", ansiToWide(lpCmdLine));
  }

  if (mutex != nullptr) EndDeploymentCriticalSection(mutex);
  ZENT_LOG(4, L"lpCmdLine(%S), cmd(%S), code(%d)\n", lpCmdLine, cmd, code);
  DeinitService(lpCmdLine);
  return code;
}
