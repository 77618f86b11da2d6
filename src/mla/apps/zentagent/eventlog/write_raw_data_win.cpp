// WriteRawData: one line to an event log file, with the retries a full disk
// or an interrupted write earn.
#include <cerrno>

#include "eventlog/event_files_win.h"
#include "log/debug_log.h"
#include "util/crt_errno.h"

namespace {

constexpr int kInterrupted = -201, kDiskFull = -202, kOtherFailure = -203;
constexpr int kMaxInterruptedRetries = 5;

}  // namespace

int WriteRawData(uint32_t size, const char* buffer, HANDLE& handle) {
  if (!IsLogOpen(handle)) {
    // Read as success by the callers: there is nothing to write into.
    ZENT_LOG(1, L"log file handle is invalid\n");
    return 0;
  }
  if (size == 0) return 0;
  int code = 0;
  bool diskFullBefore = false;
  int retries = 0;
  while (true) {
    DWORD written = 0;
    BOOL ok = WriteFile(handle, buffer, size, &written, nullptr);
    if (ok && written >= size) return code;  // a code set by an earlier try stays
    if (ok && written > 0) {
      buffer += written;
      size -= written;
      diskFullBefore = false;
      continue;
    }
    // A write that took nothing without an error would loop for ever: the
    // disk has no room for it.
    errno = CrtErrnoFromWin32(ok ? ERROR_DISK_FULL : GetLastError());
    int error = errno;
    ZENT_LOG(1, L"WriteFile logfile fails: error=%d\n", error);
    code = error == EINTR ? kInterrupted : error == ENOSPC ? kDiskFull : kOtherFailure;
    if (error == EINTR && retries < kMaxInterruptedRetries) {
      ++retries;
      continue;
    }
    if (error == ENOSPC && !diskFullBefore) {
      diskFullBefore = true;
      if (RemoveOldestZentmpnpFile() == 1) continue;
    }
    CloseLog(handle);
    return code;
  }
}
