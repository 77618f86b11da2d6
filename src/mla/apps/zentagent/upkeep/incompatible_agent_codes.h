// The results of the check for other agents, which "-install" ends with and
// the suite's patch agent reads as the process exit code.
#pragma once

inline constexpr int kPellorClientExists = -101;
inline constexpr int kMarluneAgentExists = -102;
inline constexpr int kUnknownAgentExists = -104;
inline constexpr int kCorvelNotRemoved = 130;
inline constexpr int kCorvelRemovedRebootRequired = -110;
inline constexpr int kCorvelDriverPendingRemoval = -111;
