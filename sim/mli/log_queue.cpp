#include "log_queue.h"

namespace zentsim::mli {

namespace {

// Copies of the entry in play that exist at `now`: the first at its start,
// then one each 1/rate seconds.
uint32_t CopiesDue(const LogQueue& queue, const ScriptEntry& entry, uint64_t now, uint64_t frequency) {
  long double elapsed = static_cast<long double>(now - queue.entryStart);
  long double due = elapsed * entry.rate / static_cast<long double>(frequency) + 1;
  return due >= Copies(entry) ? Copies(entry) : static_cast<uint32_t>(due);
}

// Ticks from `now` until copy number `sequence` of the entry in play is made.
uint64_t TicksUntil(const LogQueue& queue, const ScriptEntry& entry, uint32_t sequence, uint64_t now,
                    uint64_t frequency) {
  uint64_t at = queue.entryStart + (static_cast<uint64_t>(sequence) * frequency + entry.rate - 1) / entry.rate;
  return at > now ? at - now : 1;
}

}  // namespace

void StartScript(LogQueue& queue, std::vector<ScriptEntry> entries, uint64_t now) {
  queue.entries = std::move(entries);
  queue.current = 0;
  queue.entryStart = now;
  queue.produced = 0;
  queue.waiting.clear();
}

NextStep TakeNext(LogQueue& queue, uint64_t now, uint64_t frequency, uint32_t queueRecords) {
  NextStep step;
  while (queue.current < queue.entries.size()) {
    const ScriptEntry& entry = queue.entries[queue.current];
    if (entry.rate != 0) {
      for (uint32_t due = CopiesDue(queue, entry, now, frequency); queue.produced < due; ++queue.produced) {
        if (queue.waiting.size() < queueRecords) {
          queue.waiting.push_back({queue.current, queue.produced});
        } else {
          ++step.dropped;
        }
      }
    }
    if (!queue.waiting.empty()) {
      step.what = NextStep::kDeliver;
      step.copy = queue.waiting.front();
      queue.waiting.pop_front();
      return step;
    }
    if (queue.produced < Copies(entry)) {
      if (entry.rate != 0) {
        step.what = NextStep::kWait;
        step.waitTicks = TicksUntil(queue, entry, queue.produced, now, frequency);
        return step;
      }
      step.what = NextStep::kDeliver;
      step.copy = {queue.current, queue.produced++};
      return step;
    }
    ++queue.current;
    queue.entryStart = now;
    queue.produced = 0;
  }
  step.what = NextStep::kDone;
  return step;
}

}  // namespace zentsim::mli
