// The debug log's thread: flushes and rotates the log file until hStopEvent is
// signalled.
#pragma once

#include <windows.h>

DWORD WINAPI ProcessLogFileFn(LPVOID);
