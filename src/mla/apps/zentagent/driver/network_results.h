// The results of the network configuration calls, and what the driver's
// installer makes of them. The codes are the platform's own; the suite's
// installer reads the deployment codes of "-install".
#pragma once

#include <cstdint>

inline constexpr int32_t kNetcfgSReboot = 0x0004A020;
inline constexpr int32_t kNetcfgENoWriteLock = static_cast<int32_t>(0x8004A024u);
inline constexpr int32_t kNetcfgENeedReboot = static_cast<int32_t>(0x8004A025u);
inline constexpr int32_t kNetcfgEMaxFilterLimit = static_cast<int32_t>(0x8004A029u);
// ERROR_CANCELLED as an HRESULT: not logged as a failure of the install.
inline constexpr int32_t kInstallCancelled = static_cast<int32_t>(0x800704C7u);
inline constexpr int32_t kEFail = static_cast<int32_t>(0x80004005u);
inline constexpr int32_t kEOutOfMemory = static_cast<int32_t>(0x8007000Eu);

// Deployment codes of InstallOrUpdateDriver.
inline constexpr int kDriverRebootRequired = -110;
inline constexpr int kDriverNeedRebootFirst = -111;
inline constexpr int kDriverInstallFailed = -112;
inline constexpr int kDriverUninstallFailed = -113;
inline constexpr int kDriverFilterLimit = 201512009;

// A positive Win32 error as an HRESULT (0x8007 and its low word); zero and
// negative values stand as they are.
int32_t HresultFromWin32(uint32_t error);

// What the installer does after one INF's attempt.
enum class InfAttempt {
  Installed,        // stop, success
  InstalledReboot,  // stop, NETCFG_S_REBOOT
  NeedReboot,       // stop, NETCFG_E_NEED_REBOOT
  FilterLimit,      // stop, NETCFG_E_MAX_FILTER_LIMIT
  TryNext,          // any other result: the next INF is tried
};
InfAttempt JudgeInfAttempt(int32_t result);

// InstallOrUpdateDriver's reading of the installer's result: a deployment
// code that ends the command, or 0 to go on (a rule file pointer is written
// and the result is then DriverInstalledCode).
int DriverInstallFailureCode(int32_t installResult);
// The code after a successful install: -110 when it works after a reboot.
int DriverInstalledCode(int32_t installResult);

// InstallSpecifiedComponent's reading of HrInstallComponent's result. S_OK and NETCFG_S_REBOOT are applied once more; cancelled is quiet.
inline bool InstallWantsApply(int32_t result) { return result == 0 || result == kNetcfgSReboot; }
inline bool InstallFailureIsLogged(int32_t result) { return !InstallWantsApply(result) && result != kInstallCancelled; }

// How ndis_uninstall_driver reads the component's removal.
enum class UninstallOutcome { Uninstalled, UninstalledReboot, Failed };
UninstallOutcome JudgeUninstall(int32_t result);
