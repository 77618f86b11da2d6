#include <sys/resource.h>

#include "peak_memory.h"

double PeakMemoryMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024.0;  // kilobytes on Linux
}
