// The engine's six worker threads, in the order of their creation,
// resumption and stop. Each takes no argument, watches hStopEvent and
// returns when it is signalled.
#pragma once

#include <windows.h>

DWORD WINAPI CmdProcessFn(LPVOID);
DWORD WINAPI FwDpiServiceFn(LPVOID);
DWORD WINAPI ProcessNotifyFn(LPVOID);
DWORD WINAPI ProcessLogFileFn(LPVOID);
DWORD WINAPI ProcessMonitorConfigFn(LPVOID);
DWORD WINAPI ProcessTelemetryFn(LPVOID);
