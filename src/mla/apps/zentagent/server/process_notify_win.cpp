// ProcessNotifyFn: the server conversation. Heartbeats come with the server
// work; until then the thread takes the notify event and waits for stop.
#include "service/debug_log.h"
#include "service/engine_state_win.h"
#include "service/workers_win.h"

DWORD WINAPI ProcessNotifyFn(LPVOID) {
  ZENT_LOG(2, L"ProcessNotifyFn: enters\n");
  HANDLE waits[] = {g_Engine.s_hNotifyEvent, g_Engine.hStopEvent};
  for (;;) {
    DWORD which = WaitForMultipleObjects(2, waits, FALSE, INFINITE);
    if (which == WAIT_OBJECT_0) continue;
    if (which == WAIT_OBJECT_0 + 1) {
      ZENT_LOG(4, L"ProcessNotifyFn: Stop Event Signaled\n");
      ZENT_LOG(2, L"ProcessNotifyFn: exits\n");
      return 0;
    }
    ZENT_LOG(1, L"ProcessNotifyFn: WaitForMultipleObjects failed\n");
    ZENT_LOG(2, L"ProcessNotifyFn: exits\n");
    return which;
  }
}
