// The host as the other agents of the family leave it: Corvel installed by
// its own installer (the stand-in under sim/corvel), the services and keys
// of its siblings, and the knobs of Corvel's stand-in. Everything here is
// undone by RestoreHost, which each test's fixture calls on both ends.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "support/run_to_end_win.h"

namespace corvel_host {

inline constexpr wchar_t kCorvelProductCode[] = L"{6B1C2D3E-4F50-4A61-9B72-8C93D4E5F601}";
inline constexpr wchar_t kHvCorvelProductCode[] = L"{7C2D3E4F-5061-4B72-8C93-D4E5F6011A22}";
inline constexpr wchar_t kCorvelFolder[] = L"C:\\Program Files\\Corvel\\";
inline constexpr wchar_t kServiceKey[] = L"SYSTEM\\CurrentControlSet\\Services\\ml_agent";
inline constexpr wchar_t kCorvelKey[] = L"SOFTWARE\\Halvane\\Corvel Agent";
inline constexpr wchar_t kPellorClientKey[] = L"SOFTWARE\\Halvane\\Pellor Client";
inline constexpr wchar_t kUninstallKey[] = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
inline constexpr wchar_t kSessionManagerKey[] = L"SYSTEM\\CurrentControlSet\\Control\\Session Manager";

// msiexec /i of the installer whose Windows path is in the environment
// variable (ZENT_CORVEL_MSI or ZENT_HVCORVEL_MSI), with extra properties.
DWORD InstallCorvel(const char* msiVariable, const std::wstring& properties = L"");
bool ProductInstalled(const wchar_t* productCode);

// HKLM values and keys.
void SetString(const std::wstring& key, const wchar_t* name, const std::wstring& text);
void SetDword(const std::wstring& key, const wchar_t* name, DWORD data);
void SetMultiString(const std::wstring& key, const wchar_t* name, const std::wstring& textWithZeros);
bool KeyExists(const std::wstring& key);
void DeleteKey(const std::wstring& key);
void DeleteValue(const std::wstring& key, const wchar_t* name);

// Corvel uninstalled (knobs cleared first), the sibling keys, fake Uninstall
// entries of the tests, the stand-in's knobs and journal, and pending renames
// gone.
void RestoreHost();

// The lines the removal wrote with DebugLevel 5, as "Function: message",
// the message without its last line feed; only the lines of the removal's
// own functions, not those of the registry and launch helpers it calls.
std::vector<std::string> RemovalLog(const std::string& logText);

// The folder of this executable, where the uninstaller's log is kept.
std::wstring OwnFolder();

}  // namespace corvel_host
