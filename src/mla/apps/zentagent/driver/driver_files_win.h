// Files and texts the driver's installer shares between its steps.
#pragma once

#include <windows.h>

#include <string>

// The component's identity in the network configuration.
inline constexpr wchar_t kDriverComponentId[] = L"mlfilter";

// True when the path names a file that is no directory.
bool IsRegularFile(const std::wstring& path);
// The installed driver: the system folder + "\drivers\mlfilter.sys"; the
// folder lookup's result, S_OK with the path.
HRESULT InstalledDriverPath(std::wstring& path);
// The system's text for an error, cut as the installer's log lines show it.
std::wstring SystemErrorText(HRESULT error);
