#include "service/crash_filter_win.h"

// The dump and the event log entry come with the crash capture; until then
// the system's own handling goes on.
LONG WINAPI ZentCrashFilter(EXCEPTION_POINTERS*) { return EXCEPTION_CONTINUE_SEARCH; }
