#include "records/entry_points_win.h"

PFN_MiniDumpWriteDump s_pfnMiniDumpWriteDump = nullptr;
PFN_NtQueryInformationProcess s_pfnNtQueryInformationProcess = nullptr;
