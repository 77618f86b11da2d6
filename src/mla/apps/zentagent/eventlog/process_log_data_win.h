// ProcessLogData: the pump's handling of one driver record.
#pragma once

#include <cstdint>

// Non-zero when the record went into the cache and the pass that followed
// wrote everything.
int ProcessLogData(const void* record, const void* extra, uint32_t extraLength);
