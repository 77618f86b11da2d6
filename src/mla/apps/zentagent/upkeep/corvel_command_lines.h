// The command lines given to Corvel's own tools: its uninstaller (through
// MsiExec.exe) and its control program mla_control (through cmd.exe).
#pragma once

#include <string>

// The uninstaller's buffers hold 1,024 characters, the closing zero
// included: a longer line is cut to its first 1,023.
inline constexpr size_t kCorvelCommandLineChars = 1024;

// "/quiet /norestart /x %s /L*V \"%s\"" with a log file, and
// "/quiet /norestart /x %s" without one (logPath null).
std::wstring CorvelUninstallArguments(const std::wstring& productCode, const std::wstring* logPath);

// "/c \"%Smla_control\" " and the option: installFolder ends in a
// backslash, and cmd.exe finds mla_control.exe by its extension.
std::wstring MlaControlArguments(const std::wstring& installFolder, const wchar_t* option);

// mla_control's options: "-r" resets Corvel's settings; "-s off" turns its
// self-protection off, which would otherwise make its uninstaller fail.
inline constexpr const wchar_t* kMlaControlReset = L"-r";
inline constexpr const wchar_t* kMlaControlSelfProtectionOff = L"-s off";
