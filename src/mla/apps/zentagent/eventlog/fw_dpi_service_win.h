// The driver log pump's thread: loops on mli_get_log until hStopEvent is
// signalled.
#pragma once

#include <windows.h>

DWORD WINAPI FwDpiServiceFn(LPVOID);
