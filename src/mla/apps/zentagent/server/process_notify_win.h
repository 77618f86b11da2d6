// The server conversation's thread: heartbeats on the notify event and its
// time-out until hStopEvent is signalled.
#pragma once

#include <windows.h>

DWORD WINAPI ProcessNotifyFn(LPVOID);
