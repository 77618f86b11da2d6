// Synthetic manager policies for the translation benchmark: N packet
// filters and N payload filters with their assignments, connection types,
// lists and schedules in proportion, every number valid under the strict
// rule, and the machine's adapters that the policy's interfaces match.
#pragma once

#include <string>

#include "policy/raw_config.h"

// Writes the policy with `filters` filters of each family to path. False
// when the file cannot be written.
bool WriteGeneratedPolicy(const std::string& path, int filters);

// Fills platformIfByMACMap and driverIfByMACMap with the adapters whose MACs
// the generated interfaces bear, as the machine would report them.
void AddGeneratedAdapters(RawConfig& rawConfig);
