// The filter driver during "-install": nothing, install, or replace, as the
// package's and the installed driver's versions say.
#pragma once

// 0, -110 (installed, works after a reboot), -111, -112, -113 or 201512009.
int InstallOrUpdateDriver();
