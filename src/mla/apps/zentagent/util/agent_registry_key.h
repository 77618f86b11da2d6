// The agent's own registry key. The suite and people who inspect the host
// read its values; the agent only writes them: the times of the last
// deployment and the hourly status values.
#pragma once

inline constexpr char kAgentRegistryKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Halvane\\ZentAgent";
