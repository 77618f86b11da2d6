// ProcessNotifyFn: the server conversation. A heartbeat goes out when the
// first-heartbeat timer runs out, on the notify event, on the scheduled
// timer when it is enabled, and after the rapid wait a reply asked for.
#include "server/process_notify_win.h"

#include <mutex>
#include <vector>

#include "log/debug_log.h"
#include "policy/deployment_lock.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "server/heartbeat_message.h"
#include "server/server_conversation_win.h"
#include "util/text_win.h"

DWORD WINAPI ProcessNotifyFn(LPVOID) {
  ZENT_LOG(2, L"ProcessNotifyFn: enters\n");
  DWORD timeout = s_Settings.FirstHeartBeat;
  bool timerInUse = true;
  uint32_t rapid = 0;
  // Never set: a failed heartbeat is not retried, and no cycle is a retry.
  // The "retry" reason stays for the log's readers.
  bool retrying = false;
  HANDLE waits[] = {g_Engine.s_hNotifyEvent, g_Engine.hStopEvent};
  for (;;) {
    // The notify event comes first: with both signalled, one more cycle runs
    // before the thread sees the stop.
    DWORD which = WaitForMultipleObjects(2, waits, FALSE, timerInUse ? timeout : INFINITE);
    const char* reason;
    if (which == WAIT_OBJECT_0) {
      reason = "notfiy event";  // the log's spelling, which its readers grep for
    } else if (which == WAIT_OBJECT_0 + 1) {
      ZENT_LOG(4, L"ProcessNotifyFn: Stop Event Signaled\n");
      ZENT_LOG(2, L"ProcessNotifyFn: exits\n");
      return 0;
    } else if (which == WAIT_TIMEOUT) {
      reason = TimeoutReason(retrying, rapid);
    } else {
      ZENT_LOG(1, L"ProcessNotifyFn: WaitForMultipleObjects failed\n");
      ZENT_LOG(2, L"ProcessNotifyFn: exits\n");
      return which;
    }
    ZENT_LOG(4, L"notify received: %S\n", reason);

    uint32_t requested = 0;
    ProcessNotify(&requested);
    rapid = requested;
    if (rapid != 0 && RapidHeartBeatTooLong(rapid, s_Settings.HeartBeatTimer)) {
      ZENT_LOG(1, L"incorrect setting of rapidHeartbeat(%d)\n", rapid);
      rapid = s_Settings.HeartBeatTimer;
    }
    HeartBeatWait wait = NextHeartBeatWait(rapid, s_Settings.HeartBeatTimer, s_Settings.DisableScheduleHeartBeat);
    timerInUse = wait.timerInUse;
    timeout = wait.timeout;
    if (rapid != 0) ZENT_LOG(6, L"RapidHeartBeat(%d)\n", rapid);
  }
}

int ProcessNotify(uint32_t* rapid) {
  std::string message;
  std::string description;
  // A deployment on the dispatcher's thread may be replacing the label.
  std::wstring deployedPolicy;
  {
    std::lock_guard<std::mutex> deployment(g_DeploymentLock);
    deployedPolicy = s_Settings.DeployedPolicy;
  }
  if (g_Engine.fullInfoHeartBeat) {
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    HeartBeatHost host;
    host.major = s_Settings.osMajor;
    host.minor = s_Settings.osMinor;
    host.build = s_Settings.osBuild;
    host.servicePack = wideToAnsi(s_Settings.osServicePack.c_str());
    host.processorArchitecture = system.wProcessorArchitecture;
    host.suiteMask = s_Settings.osSuiteMask;
    host.productType = s_Settings.osProductType;

    char name[256] = {};
    DWORD size = sizeof name;
    if (!GetComputerNameExA(ComputerNameNetBIOS, name, &size)) {
      ZENT_LOG(1, L"GetComputerNameExA faied (%d)\n", GetLastError());
      name[0] = '\0';
    }
    host.hostname = name;

    uint32_t version[4] = {};
    if (getClientVersion(version)) {
      host.installerVersion = FormatInstallerVersion(version);
    } else {
      ZENT_LOG(1, L"Failed to get agent installer version.\n");
    }
    message = FormatLongHeartBeat(host, deployedPolicy);
    description = kLongHeartBeatLabel + wideToUtf8(deployedPolicy.c_str());
  } else {
    message = FormatShortHeartBeat(deployedPolicy);
    description = kShortHeartBeatLabel + wideToUtf8(deployedPolicy.c_str());
  }

  std::string response;
  if (!talkToZentServer(message, response, description)) {
    ZENT_LOG(1, L"talkToZentServer for heartbeat failed\n");
    return 0;
  }
  ZENT_LOG(4, L"talkToZentServer for heartbeat succeeded\n");
  if (!processClientRequest(response, rapid)) {
    ZENT_LOG(1, L"processClientRequest not successful\n");
    return 0;
  }
  return 1;
}
