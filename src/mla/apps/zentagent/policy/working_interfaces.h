// workingIfMap: the machine's adapters joined with the manager's interfaces
// and the driver's by MAC address.
#pragma once

#include "policy/raw_config.h"

// Over platformIfByMACMap in key order: each adapter with the manager's
// attributes (or a negative id and typeId "-1" when the manager doesn't know
// it), its running `ifidx` and the driver's id as `driverIfconfig.id`.
void GetInterfaces(RawConfig& rawConfig);
