// Before "-install" touches anything: agents that cannot live beside this
// one refuse the install, and the older stand-alone agent is removed.
#pragma once

// 0 when the host is clear, otherwise the code "-install" ends with:
// -101, -102, -104, 130, -110 or -111.
int RemoveIncompatibleAgent();
