// The network configuration stand-in's knobs and records, under the name
// "netcfg" (HKLM\SOFTWARE\ZentSim\netcfg, or the caller's scope).
#pragma once

#include <windows.h>

#include <string>

namespace netcfgsim {

inline const wchar_t kStandIn[] = L"netcfg";

// Counts the call in "<method>Calls" and returns what the method gives this
// time: the next code of the knob named after the method (a list, one per
// call, the last repeating), else natural.
HRESULT Result(const wchar_t* method, HRESULT natural);
// Ends the process with an access violation when the knob CrashIn names the method.
void CrashIfAsked(const wchar_t* method);
bool Knob(const wchar_t* name);
// Appends one line to the record Journal.
void Journal(const std::string& line);

std::string Utf8(const wchar_t* text);  // "null" for a null pointer
std::string Hex(HRESULT result);        // 0x%08X
std::string GuidText(const GUID& guid);
std::string InterfaceName(REFIID iid);

// One more object alive, or one freed; LiveObjects counts them, and a free
// is journalled "Freed NAME".
void ObjectMade();
void ObjectFreed(const char* name);

}  // namespace netcfgsim
