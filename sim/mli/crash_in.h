// The knob "CrashIn": the name of one export ("mli_open", "mli_get_log", ...)
// that writes through a null pointer when called, for the agent's crash
// capture. The fault is in this DLL's code, as a driver library's bug would be.
#pragma once

namespace zentsim::mli {

void CrashIfAsked(const char* exportName);

}  // namespace zentsim::mli
