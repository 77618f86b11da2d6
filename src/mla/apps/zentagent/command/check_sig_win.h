#pragma once

#include <windows.h>

// Whether the process at the other end of the pipe runs an executable that
// carries the publisher's signature. Failures are logged.
bool CheckSigWithPid(ULONG clientPid);
