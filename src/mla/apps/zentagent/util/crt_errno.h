// The C runtime's errno for a Win32 error, as the runtime maps the errors
// that a file write meets. WriteFile itself sets no errno.
#pragma once

#include <cstdint>

int CrtErrnoFromWin32(uint32_t error);
