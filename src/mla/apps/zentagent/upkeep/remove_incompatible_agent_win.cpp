#include "upkeep/remove_incompatible_agent_win.h"

// The checks for other agents come with their stand-ins; until then the host
// counts as clear.
int RemoveIncompatibleAgent() { return 0; }
