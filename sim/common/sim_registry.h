// Knobs and records of the stand-ins, kept in the registry so that every
// process of the prefix sees the same state: a test sets a knob, the agent's
// service process meets it, and the test reads back what the stand-in saw.
//
// A stand-in named N keeps its values under HKLM\SOFTWARE\ZentSim\N. When the
// process has ZENT_SIM_SCOPE=S in its environment, they are under
// HKLM\SOFTWARE\ZentSim\S\N instead, so that test executables running side by
// side in one prefix do not turn each other's knobs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zentsim {

// The key's path below HKEY_LOCAL_MACHINE.
std::wstring KeyPath(const std::wstring& standIn);

uint32_t ReadDword(const std::wstring& standIn, const wchar_t* value, uint32_t fallback);
// A REG_SZ value as UTF-8; nothing when the value is absent.
std::optional<std::string> ReadString(const std::wstring& standIn, const wchar_t* value);

void WriteDword(const std::wstring& standIn, const wchar_t* value, uint32_t data);
void WriteString(const std::wstring& standIn, const wchar_t* value, const std::string& utf8);
void WriteBinary(const std::wstring& standIn, const wchar_t* value, const std::string& bytes);
void WriteQword(const std::wstring& standIn, const wchar_t* value, uint64_t data);
void DeleteValue(const std::wstring& standIn, const wchar_t* value);
// Adds to a DWORD record, atomically for all processes of the prefix.
void Add(const std::wstring& standIn, const wchar_t* value, uint32_t amount);
void Count(const std::wstring& standIn, const wchar_t* value);

}  // namespace zentsim
