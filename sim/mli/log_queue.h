// The driver's queue while a log script plays: which copy of which entry the
// reader gets next, and which copies the driver had to drop because the
// reader was too slow. Time is in the caller's ticks (the performance
// counter), so that the rules can be followed without a clock of their own.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "log_script.h"

namespace zentsim::mli {

// One delivery: the entry, and which of its copies (a generator adds this to
// the template's logId).
struct Copy {
  size_t entry = 0;
  uint32_t sequence = 0;
};

struct LogQueue {
  std::vector<ScriptEntry> entries;
  size_t current = 0;        // the entry in play
  uint64_t entryStart = 0;   // ticks at which it started
  uint32_t produced = 0;     // its copies made so far, dropped ones included
  std::deque<Copy> waiting;  // copies made at a rate, not yet taken
};

struct NextStep {
  enum What { kDeliver, kWait, kDone } what = kDone;
  Copy copy;                // for kDeliver
  uint64_t waitTicks = 0;   // for kWait: until the entry's next copy is made
  uint32_t dropped = 0;     // copies that found the queue full in this step
};

// Starts a script's first entry at `now`.
void StartScript(LogQueue& queue, std::vector<ScriptEntry> entries, uint64_t now);

// What the reader gets at `now`. An entry with a rate makes its copies at
// `rate` per second from its start, each into the queue if it holds fewer
// than `queueRecords`, else dropped; an entry without one makes a copy each
// time it is asked. The next entry starts once the reader has taken the
// last copy of the one before. kDone: the script has nothing more.
NextStep TakeNext(LogQueue& queue, uint64_t now, uint64_t frequency, uint32_t queueRecords);

}  // namespace zentsim::mli
