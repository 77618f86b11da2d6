// The files of the policy's road, all in the agent's working directory,
// where the rule compiler lies too.
#pragma once

#include <string>

#include "records/settings.h"

inline constexpr wchar_t kMlmConfigXmlName[] = L"zent_agent.encxml";  // the manager policy as last received
inline constexpr wchar_t kConfigXmlName[] = L"config.xml";            // the agent configuration document
inline constexpr wchar_t kConfigBinName[] = L"config.rbf";            // the compiled rules
inline constexpr wchar_t kCompilerName[] = L"mlc.exe";

// Working directory, "\", name.
inline std::wstring WorkingDirectoryFile(const wchar_t* name) { return s_Settings.workingDirectory + L"\\" + name; }
