// The system's calls behind the running processes query.
#pragma once

#include <windows.h>

#include "metadata/running_process_calls.h"

// Toolhelp, OpenProcess, psapi, the token and SID calls, ReadProcessMemory
// and NtQueryInformationProcess as resolved at start-up (left empty when it
// was not). The snapshot's handle lives in snapshot, which must outlive the
// table's use.
RunningProcessCalls SystemRunningProcessCalls(HANDLE& snapshot);
