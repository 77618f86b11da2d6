#include "driver/network_results.h"

int32_t HresultFromWin32(uint32_t error) {
  if (static_cast<int32_t>(error) <= 0) return static_cast<int32_t>(error);
  return static_cast<int32_t>((error & 0xFFFFu) | 0x80070000u);
}

InfAttempt JudgeInfAttempt(int32_t result) {
  switch (result) {
    case 0: return InfAttempt::Installed;
    case kNetcfgSReboot: return InfAttempt::InstalledReboot;
    case kNetcfgENeedReboot: return InfAttempt::NeedReboot;
    case kNetcfgEMaxFilterLimit: return InfAttempt::FilterLimit;
    default: return InfAttempt::TryNext;
  }
}

int DriverInstallFailureCode(int32_t installResult) {
  if (installResult == kNetcfgENeedReboot) return kDriverNeedRebootFirst;
  if (installResult == kNetcfgEMaxFilterLimit) return kDriverFilterLimit;
  if (installResult < 0) return kDriverInstallFailed;
  return 0;
}

int DriverInstalledCode(int32_t installResult) {
  return installResult == kNetcfgSReboot ? kDriverRebootRequired : 0;
}

UninstallOutcome JudgeUninstall(int32_t result) {
  if (result == 0) return UninstallOutcome::Uninstalled;
  if (result == kNetcfgSReboot) return UninstallOutcome::UninstalledReboot;
  return UninstallOutcome::Failed;
}
