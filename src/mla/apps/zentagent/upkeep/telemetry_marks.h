// Whether an hourly pass writes ConfigBinStatus or PolicyStatus. A mismatch
// is reported only when two passes in a row see it, so that a deployment in
// progress at the top of the hour does not read as a stale rule file or a
// wrong policy; a good value is written at once.
#pragma once

#include <cstdint>

// One value's pending mark, 0 or 1, kept by the telemetry thread from pass to
// pass. Returns whether this pass writes the value, and updates the mark: a
// first mismatch (1 with the mark clear) sets the mark and writes nothing;
// anything else is written and clears the mark. So a mismatch that lasts is
// written every second pass, and the value stays 1 in between.
bool TakeTelemetryValue(uint32_t value, uint32_t& pendingMark);
