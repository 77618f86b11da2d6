// The agent's settings record: one instance, filled from zent_agent.ini and
// read by every thread without a lock.
#pragma once

#include <cstdint>

struct ZentSettings {
  bool DbgviewLog = false;
  bool LogFile = true;
  int32_t DebugLevel = 3;
  int32_t LogFileSizeLimit = 10485760;
  uint32_t FlushDebugLogTimer = 1000;
};

extern ZentSettings s_Settings;
