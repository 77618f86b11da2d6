// Corvel, the older stand-alone agent, is removed on the spot by driving its
// own uninstaller; its service's display name is "Corvel Agent".
#pragma once

#include <string>

// 0 when removed, -110 when removed but the host must reboot, -111 when its
// driver must go at a reboot first, 130 when it could not be removed.
int RemoveCorvel();

// The product code: the name of the first sub-key of the Uninstall key whose
// DisplayName equals displayName exactly. False when there is none.
bool GetInstalledSoftwareGUID(std::wstring& guid, const std::wstring& displayName);

// Corvel's install folder from its registry key, ending in a backslash;
// false when it is not recorded or is no folder.
bool GetCorvelInstallFolder(std::wstring& folder);

// "mla_control -r": Corvel's settings back to its defaults.
bool ResetCorvelSetting();

// "mla_control -s off": Corvel's self-protection, which makes its
// uninstaller fail, turned off.
bool DisableCorvelSelfProtection();

// PendingFileRenameOperations of the Session Manager key, empty when absent.
void GetPendingFilesRegistryString(std::string& text);
