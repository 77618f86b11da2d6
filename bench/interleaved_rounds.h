// Timing for benchmarks that compare the agent's work with a baseline doing
// the same system calls bare. Each round runs every piece once, in turn, so
// that a machine (or Wine) slowing down for a while slows all of them alike;
// the figure of a piece is its median over the rounds. Asserts nothing: a
// benchmark never fails because a machine is slow.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

struct TimedPiece {
  std::string name;
  std::function<void()> work;
};

// The median seconds of each piece, in the order given.
inline std::vector<double> InterleavedMedians(int rounds, const std::vector<TimedPiece>& pieces) {
  std::vector<std::vector<double>> times(pieces.size());
  for (int round = 0; round < rounds; ++round) {
    for (size_t i = 0; i < pieces.size(); ++i) {
      auto start = std::chrono::steady_clock::now();
      pieces[i].work();
      std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
      times[i].push_back(elapsed.count());
    }
  }
  std::vector<double> medians;
  for (std::vector<double>& t : times) {
    std::sort(t.begin(), t.end());
    medians.push_back(t[t.size() / 2]);
  }
  return medians;
}

// One line of the report: what was measured, its median, the baseline's, the
// ratio and the goal it is held to ("ok" or "MISSED", never a failure).
inline void PrintRatio(const std::string& label, double seconds, double baselineSeconds, double goal) {
  double ratio = baselineSeconds > 0 ? seconds / baselineSeconds : 0;
  std::printf("%-58s %10.4f s  baseline %10.4f s  ratio %5.2f  goal <= %.2f  %s\n", label.c_str(), seconds,
              baselineSeconds, ratio, goal, ratio <= goal ? "ok" : "MISSED");
}
