// Crash support resolved at start-up; the crash capture uses them.
#pragma once

#include <windows.h>

typedef BOOL(WINAPI* PFN_MiniDumpWriteDump)(HANDLE, DWORD, HANDLE, int, void*, void*, void*);
typedef LONG(WINAPI* PFN_NtQueryInformationProcess)(HANDLE, int, void*, ULONG, ULONG*);

extern PFN_MiniDumpWriteDump s_pfnMiniDumpWriteDump;
extern PFN_NtQueryInformationProcess s_pfnNtQueryInformationProcess;

// Makes, once at start, the security descriptor that zent_agent.dmp is
// created with, so that the filter itself needs no heap; without it there
// is no dump.
void PrepareCrashDumpSecurity();

// The process's last chance on an unhandled exception: zent_agent.dmp in
// the working directory, a debugger text and an event, then the end.
LONG WINAPI ZentCrashFilter(EXCEPTION_POINTERS* exception);
