// The steps of InstallOrUpdateDriver: the versions of the package's, the
// running and the installed driver, and the clean-up of the INF store.
#pragma once

#include <string>

// Fills the settings' package version from the driver directory's file.
bool GetBundledDriverVersion();
// Fills the installed version and driverRunning: from the running driver,
// else from the installed file (GetInstalledDriverVersion).
bool GetDriverVersion();
bool GetInstalledDriverVersion();
// Removes one copy of the driver's INF from the Windows INF store.
void CleanUpOEMFiles();
// The name of the first oem*.inf of the store that names the driver, or empty.
std::wstring GetOEMFileContainingDriver();
