#include "metadata/query_families.h"

// The native build gathers nothing from a host: every query is unknown, and
// the engine's tests bring their own families.
std::span<const HmdQueryFamily> HmdQueryFamilies() { return {}; }
