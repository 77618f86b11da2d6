#include "crash_in.h"

#include "channel.h"
#include "sim_registry.h"

namespace zentsim::mli {

namespace {

// Read through a volatile so that the compiler keeps the store as it
// stands instead of proving it undefined and dropping or trapping it.
int* volatile nowhere = nullptr;

}  // namespace

void CrashIfAsked(const char* exportName) {
  if (ReadString(kStandIn, L"CrashIn") == exportName) *nowhere = 1;
}

}  // namespace zentsim::mli
