#include "upkeep/telemetry_marks.h"

bool TakeTelemetryValue(uint32_t value, uint32_t& pendingMark) {
  if (value == 1 && pendingMark == 0) {
    pendingMark = 1;
    return false;
  }
  pendingMark = 0;
  return true;
}
