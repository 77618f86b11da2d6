#include <windows.h>
// psapi.h needs windows.h first.
#include <psapi.h>

#include "peak_memory.h"

double PeakMemoryMegabytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof counters;
  if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) return 0;
  return counters.PeakWorkingSetSize / (1024.0 * 1024.0);
}
