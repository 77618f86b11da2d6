#pragma once

// The set-up every run shares: working directory, suite bridge, settings
// and debug log. False when the program cannot run at all.
bool InitService(const char* lpCmdLine);
// The end every run but the earliest failure shares: the log is closed.
void DeinitService(const char* lpCmdLine);
