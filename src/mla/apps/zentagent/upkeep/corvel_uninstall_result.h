// What the exit code of Corvel's uninstaller means to "-install".
#pragma once

#include <cstdint>
#include <string>

enum class CorvelUninstallOutcome {
  Removed,               // 0
  RebootRequired,        // 3010: removed, the reboot is the host's to do
  DriverPendingRemoval,  // 1603 while Corvel's driver waits for a reboot
  Failed1603,            // 1603 for any other reason
  Failed,                // anything else, a failed launch included
};

// 1603 is the only code for which the pending file renames are looked at;
// driverPending says whether they name Corvel's driver.
CorvelUninstallOutcome JudgeCorvelUninstall(uint32_t exitCode, bool driverPending);

// The code RemoveCorvel returns for an outcome: 0, -110, -111 or 130.
int CorvelUninstallResult(CorvelUninstallOutcome outcome);

// True when the text of PendingFileRenameOperations holds the bytes
// "hvactmon.sys", Corvel's driver, anywhere and in this case only.
bool PendingFilesHoldCorvelDriver(const std::string& pendingFiles);
