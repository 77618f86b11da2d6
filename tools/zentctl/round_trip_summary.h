// The figures of a --count run: how long one command took from its first
// write to its whole reply, over many on one connection.
#pragma once

#include <string>
#include <vector>

namespace zentctl {

struct RoundTripSummary {
  double medianUs = 0;  // the middle one, or the mean of the two middle ones
  double p95Us = 0;     // nearest rank: the smallest time that 95% do not exceed
};

// Round trips in microseconds; at least one.
RoundTripSummary SummarizeRoundTrips(std::vector<double> microseconds);

// Lines "Round trips:", "Median:" and "95th percentile:".
std::string FormatRoundTrips(size_t count, const RoundTripSummary& summary);

}  // namespace zentctl
