// The filter driver's version: four 16-bit parts, as the package's file, the
// installed file and the running driver give them, and the decision that
// the two versions make during "-install".
#pragma once

#include <cstdint>

// The four parts in one signed 64-bit number, major in the top 16 bits, each
// part widened as a signed value and or-ed in place. A part of 32768 or more
// counts as negative, and in the fourth place it sets every bit above it: the
// comparison of such a version with any other follows from that.
int64_t PackDriverVersion(const uint16_t version[4]);

// The running driver's version text, read as "%d.%d.%d.%d" would read it:
// blanks before a number skipped, a sign allowed, a number that leaves the
// 32-bit range wraps, each part kept in 16 bits. True when exactly four
// numbers came out; what follows them is not looked at.
bool ParseRunningDriverVersion(const char* text, uint16_t version[4]);

// What the installed driver's version, against the package's, asks for.
enum class DriverVersionDecision {
  KeepNewer,             // installed newer: never downgraded
  KeepRunning,           // same version, running
  FinishPartialInstall,  // same version, not running: a partial install waits for its reboot
  Upgrade,               // installed older
};

DriverVersionDecision DecideDriverVersion(const uint16_t installed[4], const uint16_t package[4], bool running);

// The removal of the older driver before an upgrade: a failure stops the
// install only when that driver is running.
inline bool UninstallFailureIsFatal(int32_t uninstallResult, bool running) {
  return uninstallResult < 0 && running;
}
