#include "upkeep/telemetry_win.h"

#include <string>

#include "log/debug_log.h"
#include "policy/policy_files.h"
#include "records/engine_state_win.h"
#include "records/settings.h"
#include "server/get_file_modify_time.h"
#include "upkeep/telemetry_marks.h"
#include "util/agent_registry_key.h"
#include "util/reg_key_win.h"
#include "util/text_win.h"

namespace {

// Every line of a pass is the telemetry thread's, as the log's readers know it.
constexpr char kThreadName[] = "ProcessTelemetryFn";

// 253 characters and the closing zero: a longer label is cut, and two labels
// that differ only beyond it read as equal.
constexpr DWORD kPolicyLabelChars = 254;

std::wstring ReadPolicyLabel(const wchar_t* key) {
  wchar_t label[kPolicyLabelChars] = {};
  GetPrivateProfileStringW(L"Policy", key, L"", label, kPolicyLabelChars, s_Settings.iniFile.c_str());
  return label;
}

void WriteStatus(utilRegKey& key, const char* valueName, DWORD value) {
  // A failed write is logged by the registry wrapper; the next pass tries again.
  key.SetRegWithCreate(valueName, &value);
}

void TelemetryPass(uint32_t& configBinMark, uint32_t& policyMark) {
  DWORD configBinStatus = compareConfigBinStatus();
  DWORD policyStatus = comparePolicyStatus();
  DWORD driverStatus = getDriverStatus();
  utilRegKey key(kAgentRegistryKey);
  WriteStatus(key, "DriverStatus", driverStatus);
  // The marks as they stand before this pass changes them.
  ZENT_LOG_AS(kThreadName, 4,
              L"Telemetry thread: (ConfigBinStatusValue,ErrorCount):(%d,%d),(PolicyStatusValue,ErrorCount)(%d,%d),%d\n",
              configBinStatus, configBinMark, policyStatus, policyMark, driverStatus);
  if (TakeTelemetryValue(configBinStatus, configBinMark)) WriteStatus(key, "ConfigBinStatus", configBinStatus);
  if (TakeTelemetryValue(policyStatus, policyMark)) WriteStatus(key, "PolicyStatus", policyStatus);
}

}  // namespace

DWORD WINAPI ProcessTelemetryFn(LPVOID) { return RunTelemetryLoop(g_Engine.hStopEvent, kTelemetryPeriodMs); }

DWORD RunTelemetryLoop(HANDLE stopEvent, DWORD periodMs) {
  ZENT_LOG_AS(kThreadName, 2, L"ProcessTelemetryFn: enters\n");
  uint32_t configBinMark = 0;
  uint32_t policyMark = 0;
  for (;;) {
    DWORD waited = WaitForMultipleObjects(1, &stopEvent, FALSE, periodMs);
    if (waited == WAIT_OBJECT_0) break;
    if (waited != WAIT_TIMEOUT) continue;
    TelemetryPass(configBinMark, policyMark);
  }
  ZENT_LOG_AS(kThreadName, 2, L"ProcessTelemetryFn: Stop Event Signaled!\n");
  ZENT_LOG_AS(kThreadName, 2, L"ProcessTelemetryFn: exits\n");
  return 0;
}

DWORD compareConfigBinStatus() {
  int32_t xmlTime = GetFileModifyTime(WorkingDirectoryFile(kConfigXmlName));
  int32_t binTime = GetFileModifyTime(WorkingDirectoryFile(kConfigBinName));
  ZENT_LOG(4, L"ConfigXMLTime: %d, ConfigBinTime: %d\n", xmlTime, binTime);
  return binTime < xmlTime ? 1 : 0;
}

DWORD comparePolicyStatus() {
  // Read from the file at each pass: the copies in memory are not what the
  // suite asked about.
  std::wstring deployed = ReadPolicyLabel(L"DeployedPolicy");
  std::wstring requested = ReadPolicyLabel(L"RequestPolicy");
  ZENT_LOG(4, L"deployedPolicyInfo: %S, requestPolicyInfo: %S\n", wideToUtf8(deployed.c_str()),
           wideToUtf8(requested.c_str()));
  return deployed == requested ? 0 : 1;
}

DWORD getDriverStatus() {
  // On the failing paths the handles opened so far stay open, once an hour,
  // as the system has always had it.
  SC_HANDLE manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (manager == nullptr) {
    ZENT_LOG(1, L"OpenSCManager failed\n");
    return 0;
  }
  // The manager's access mask, asked of the service as the system always has.
  SC_HANDLE service = OpenServiceW(manager, L"mlfilter", SC_MANAGER_ALL_ACCESS);
  if (service == nullptr) {
    ZENT_LOG(1, L"OpenService failed\n");
    return 0;
  }
  SERVICE_STATUS_PROCESS status{};
  DWORD needed = 0;
  if (!QueryServiceStatusEx(service, SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status), sizeof status,
                            &needed)) {
    ZENT_LOG(1, L"QueryServiceStatusEx failed\n");
    return 0;
  }
  CloseServiceHandle(service);
  CloseServiceHandle(manager);
  ZENT_LOG(4, L"%S stat.dwCurrentState: %d\n", "mlfilter", status.dwCurrentState);
  return status.dwCurrentState;
}
