// Crash support resolved at start-up; the crash capture uses them.
#pragma once

#include <windows.h>

typedef BOOL(WINAPI* PFN_MiniDumpWriteDump)(HANDLE, DWORD, HANDLE, int, void*, void*, void*);
typedef LONG(WINAPI* PFN_NtQueryInformationProcess)(HANDLE, int, void*, ULONG, ULONG*);

extern PFN_MiniDumpWriteDump s_pfnMiniDumpWriteDump;
extern PFN_NtQueryInformationProcess s_pfnNtQueryInformationProcess;

// The process's last chance on an unhandled exception.
LONG WINAPI ZentCrashFilter(EXCEPTION_POINTERS* exception);
