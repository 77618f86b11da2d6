#include "round_trip_summary.h"

#include <algorithm>
#include <cstdio>

namespace zentctl {

RoundTripSummary SummarizeRoundTrips(std::vector<double> microseconds) {
  std::sort(microseconds.begin(), microseconds.end());
  RoundTripSummary summary;
  size_t n = microseconds.size();
  if (n == 0) return summary;
  summary.medianUs = n % 2 ? microseconds[n / 2] : (microseconds[n / 2 - 1] + microseconds[n / 2]) / 2;
  size_t rank = (95 * n + 99) / 100;  // ceil(0.95 n), at least 1
  summary.p95Us = microseconds[rank - 1];
  return summary;
}

std::string FormatRoundTrips(size_t count, const RoundTripSummary& summary) {
  char text[160];
  std::snprintf(text, sizeof text, "Round trips:     %zu\nMedian:          %.1f us\n95th percentile: %.1f us\n", count,
                summary.medianUs, summary.p95Us);
  return text;
}

}  // namespace zentctl
