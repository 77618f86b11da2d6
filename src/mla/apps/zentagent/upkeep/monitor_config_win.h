// The configuration watcher's thread: watches the config folder until
// hStopEvent is signalled and reloads the settings on each change.
#pragma once

#include <windows.h>

DWORD WINAPI ProcessMonitorConfigFn(LPVOID);

// Rereads zent_agent.ini into the settings record and opens or closes the
// debug log as LogFile says. It belongs to the service (service/
// settings_win.cpp), which owns the settings and the locks it takes; it is
// declared on this floor, like the pipe handlers of the service, so that the
// watcher includes no header from above and only the link joins them.
void ReloadConfigSettings();
