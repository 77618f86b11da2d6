// FwDpiServiceFn: the pump that takes the driver's event records out with
// mli_get_log, and the timer that makes the driver hand over what it buffers
// and tries the record cache again.
#include "eventlog/fw_dpi_service_win.h"

#include "eventlog/cache_parameters.h"
#include "eventlog/event_files_win.h"
#include "eventlog/process_log_data_win.h"
#include "log/debug_log.h"
#include "platform/mli.h"
#include "records/engine_state_win.h"
#include "util/brvn_win.h"
#include "util/text_win.h"

namespace {

constexpr DWORD kFirstFlushDelayMs = 1000;

VOID CALLBACK flushLog(PVOID, BOOLEAN) {
  ZENT_LOG(6, L"flushLog: enters\n");
  mli_flush_logs(g_Engine.hDriver);  // what the driver answers changes nothing here
  FlushBufferedData();
  ZENT_LOG(6, L"flushLog: exits\n");
}

HANDLE CreateFlushTimer(HANDLE queue, int32_t interval) {
  HANDLE timer = nullptr;
  if (!CreateTimerQueueTimer(&timer, queue, flushLog, nullptr, kFirstFlushDelayMs, static_cast<DWORD>(interval), 0)) {
    ZENT_LOG(2, L"Create log flush timer failed (%d)\n", GetLastError());
    return nullptr;
  }
  return timer;
}

// A log record, or nothing when the driver failed the read.
bool checkLog(void* record, void** extra, uint32_t* extraLength) {
  if (mli_get_log(g_Engine.hDriver, record, extra, extraLength) != 0) {
    ZENT_LOG(1, L"mli_get_log => fails\n");
    return false;
  }
  return true;
}

}  // namespace

DWORD WINAPI FwDpiServiceFn(LPVOID) {
  s_MpnpLogPath = s_Settings.workingDirectory + L"\\zent_mpnp";
  s_VxLogDirectory = utf8ToWide(UtilBRVN::installPath.c_str()) + L"\\Misc\\KLF_IPRODUCT_ZENT";
  ZENT_LOG(2, L"FwDpiServiceFn: enters\n");
  int32_t interval = s_LogFlushLogInterval;
  ZENT_LOG(4, L"log flush interval:%d\n", interval);

  HANDLE queue = CreateTimerQueue();
  if (queue == nullptr) ZENT_LOG(2, L"Create Timer Queue failed (%d)\n", GetLastError());
  HANDLE timer = CreateFlushTimer(queue, interval);

  while (true) {
    if (s_LogFlushLogInterval != interval) {
      interval = s_LogFlushLogInterval;
      if (timer != nullptr && !DeleteTimerQueueTimer(queue, timer, nullptr)) {
        ZENT_LOG(2, L"Delete log flush timer failed (%d)\n", GetLastError());
      }
      timer = CreateFlushTimer(queue, interval);
      if (timer != nullptr) ZENT_LOG(2, L"log flush interval:%d\n", interval);
    }
    if (WaitForSingleObject(g_Engine.hStopEvent, 0) == WAIT_OBJECT_0) {
      ZENT_LOG(2, L"FwDpiServiceFn: Stop Event Signaled!\n");
      ZENT_LOG(2, L"Delete Timer Queue for flush log\n");
      break;
    }
    uint8_t record[MLI_LOG_RECORD_SIZE];
    void* extra = nullptr;
    uint32_t extraLength = 0;
    if (!checkLog(record, &extra, &extraLength)) continue;
    if (ProcessLogData(record, extra, extraLength) == 0) ZENT_LOG(1, L"WriteLogData returned false\n");
  }

  // Waits for a flushLog that is running, so that no flush meets the driver
  // handle once the engine has closed it.
  if (queue == nullptr) {
    // Without a queue of its own the timer went to the process's default
    // queue: it goes alone.
    if (timer != nullptr) DeleteTimerQueueTimer(nullptr, timer, INVALID_HANDLE_VALUE);
  } else if (!DeleteTimerQueueEx(queue, INVALID_HANDLE_VALUE)) {
    ZENT_LOG(2, L"Delete Timer Queue failed (%d)\n", GetLastError());
  }
  {
    std::lock_guard<std::recursive_mutex> lock(cacheLock);
    CloseLog(hMpnpLog);
  }
  ZENT_LOG(2, L"FwDpiServiceFn: exits\n");
  return 0;
}
