// The process's peak memory so far, for the benchmarks' reports.
#pragma once

// Megabytes of the largest resident set the process has had.
double PeakMemoryMegabytes();
