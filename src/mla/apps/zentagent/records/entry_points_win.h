// System entry points that not every Windows has, resolved once at start-up
// (null where the system lacks them): the crash capture's dump writer and
// the process queries' reader of another process's block.
#pragma once

#include <windows.h>

typedef BOOL(WINAPI* PFN_MiniDumpWriteDump)(HANDLE, DWORD, HANDLE, int, void*, void*, void*);
typedef LONG(WINAPI* PFN_NtQueryInformationProcess)(HANDLE, int, void*, ULONG, ULONG*);

extern PFN_MiniDumpWriteDump s_pfnMiniDumpWriteDump;
extern PFN_NtQueryInformationProcess s_pfnNtQueryInformationProcess;
