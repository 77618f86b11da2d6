// The last self-protection state heard from the suite, kept in
// zent_agent.ini so that it survives a suite that is absent at start.
#pragma once

// Writes "1" or "0" to key Service of section SelfProtection; a failure is
// logged and otherwise ignored.
void BackUpSelfProtection(bool on);
// True exactly when that key holds 1; a missing key means off.
bool ReadSelfProtectionBackup();
