// The SIDs whose names the agent knows without asking the system: the
// owners' names of this table are what user and group hold for them.
#pragma once

#include <span>

struct WellKnownSid {
  const char16_t* sid;
  const char16_t* name;
};

// 75 rows, in the order they were always kept.
std::span<const WellKnownSid> WellKnownSids();
