// The crash capture: the filter every thread's unhandled exception ends in.
#pragma once

#include <windows.h>

// Makes, once at start, the security descriptor that zent_agent.dmp is
// created with, so that the filter itself needs no heap; without it there
// is no dump.
void PrepareCrashDumpSecurity();

// The process's last chance on an unhandled exception: zent_agent.dmp in
// the working directory, a debugger text and an event, then the end.
LONG WINAPI ZentCrashFilter(EXCEPTION_POINTERS* exception);
