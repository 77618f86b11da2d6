// The configuration watcher's thread: watches the config folder until
// hStopEvent is signalled.
#pragma once

#include <windows.h>

DWORD WINAPI ProcessMonitorConfigFn(LPVOID);
