// The tools of Windows the agent runs, by their full path in the system
// folder, so that no folder of the search path can stand in for them.
#pragma once

#include <string>

// GetSystemDirectoryW + name, name beginning with a backslash.
std::wstring SystemToolPath(const wchar_t* name);
