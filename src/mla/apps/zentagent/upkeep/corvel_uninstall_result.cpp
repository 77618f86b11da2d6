#include "upkeep/corvel_uninstall_result.h"

#include "upkeep/incompatible_agent_codes.h"

CorvelUninstallOutcome JudgeCorvelUninstall(uint32_t exitCode, bool driverPending) {
  switch (exitCode) {
    case 0:
      return CorvelUninstallOutcome::Removed;
    case 3010:  // ERROR_SUCCESS_REBOOT_REQUIRED
      return CorvelUninstallOutcome::RebootRequired;
    case 1603:  // ERROR_INSTALL_FAILURE
      return driverPending ? CorvelUninstallOutcome::DriverPendingRemoval : CorvelUninstallOutcome::Failed1603;
    default:
      return CorvelUninstallOutcome::Failed;
  }
}

int CorvelUninstallResult(CorvelUninstallOutcome outcome) {
  switch (outcome) {
    case CorvelUninstallOutcome::Removed:
      return 0;
    case CorvelUninstallOutcome::RebootRequired:
      return kCorvelRemovedRebootRequired;
    case CorvelUninstallOutcome::DriverPendingRemoval:
      return kCorvelDriverPendingRemoval;
    case CorvelUninstallOutcome::Failed1603:
    case CorvelUninstallOutcome::Failed:
      break;
  }
  return kCorvelNotRemoved;
}

bool PendingFilesHoldCorvelDriver(const std::string& pendingFiles) {
  return pendingFiles.find("hvactmon.sys") != std::string::npos;
}
