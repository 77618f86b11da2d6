// The status telemetry's thread: the hourly state report until hStopEvent is
// signalled.
#pragma once

#include <windows.h>

DWORD WINAPI ProcessTelemetryFn(LPVOID);
