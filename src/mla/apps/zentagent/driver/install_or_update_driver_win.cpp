#include "driver/install_or_update_driver_win.h"

// The version decisions come with the driver package; until then the driver
// in place is kept.
int InstallOrUpdateDriver() { return 0; }
