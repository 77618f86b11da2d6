// The figures --count prints for the performance measurement of ping and
// notify.
#include "zentctl/round_trip_summary.h"

#include <gtest/gtest.h>

namespace {

using zentctl::FormatRoundTrips;
using zentctl::SummarizeRoundTrips;

TEST(RoundTripSummary, MedianOfAnOddCountIsTheMiddleOne) {
  EXPECT_DOUBLE_EQ(SummarizeRoundTrips({300, 100, 200}).medianUs, 200);
}

TEST(RoundTripSummary, MedianOfAnEvenCountIsTheMeanOfTheMiddleTwo) {
  EXPECT_DOUBLE_EQ(SummarizeRoundTrips({400, 100, 300, 200}).medianUs, 250);
}

TEST(RoundTripSummary, NinetyFifthPercentileOfAHundredIsTheNinetyFifthSmallest) {
  std::vector<double> times;
  for (int i = 100; i >= 1; --i) times.push_back(i);
  EXPECT_DOUBLE_EQ(SummarizeRoundTrips(times).p95Us, 95);
}

TEST(RoundTripSummary, NinetyFifthPercentileOfTenIsTheLargest) {
  EXPECT_DOUBLE_EQ(SummarizeRoundTrips({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}).p95Us, 10);
}

TEST(RoundTripSummary, OneRoundTripIsBothFigures) {
  auto summary = SummarizeRoundTrips({123.4});
  EXPECT_DOUBLE_EQ(summary.medianUs, 123.4);
  EXPECT_DOUBLE_EQ(summary.p95Us, 123.4);
}

TEST(RoundTripSummary, PrintsCountMedianAndPercentileInMicroseconds) {
  EXPECT_EQ(FormatRoundTrips(1000, {250.25, 1234.5}),
            "Round trips:     1000\n"
            "Median:          250.2 us\n"
            "95th percentile: 1234.5 us\n");
}

}  // namespace
