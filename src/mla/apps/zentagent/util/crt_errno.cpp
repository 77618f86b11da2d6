#include "util/crt_errno.h"

int CrtErrnoFromWin32(uint32_t error) {
  switch (error) {
    case 112: return 28;  // ERROR_DISK_FULL: ENOSPC
    case 5: return 13;    // ERROR_ACCESS_DENIED: EACCES
    case 6: return 9;     // ERROR_INVALID_HANDLE: EBADF
    default: return 22;   // EINVAL
  }
}
