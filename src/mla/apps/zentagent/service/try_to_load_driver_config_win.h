#pragma once

// Loads working directory\config.rbf, the rules last compiled, into the
// driver through a handle of its own. The deployment command "-install"
// calls it once the service is registered, so that the driver has its rules
// before the service first runs. Failures are logged; nothing is returned.
void TryToLoadDriverConfig();
