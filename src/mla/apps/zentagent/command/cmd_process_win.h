// The dispatcher's thread: reads the three pipes in turn and runs each
// command's handler. It takes no argument, watches hStopEvent and returns when
// it is signalled.
#pragma once

#include <windows.h>

DWORD WINAPI CmdProcessFn(LPVOID);
