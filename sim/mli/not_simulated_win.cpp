// Rule files and log flushing are not simulated yet: each call
// fails as a driver that refuses it would, with a text for mli_get_error.
#include "channel.h"

using namespace zentsim::mli;

namespace {

int NotSimulated(MLI_HANDLE handle) {
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  return Fail(*channel, "not simulated yet");
}

}  // namespace

extern "C" int mli_load_config(MLI_HANDLE handle, const void* buffer, uint32_t length) {
  (void)buffer;
  (void)length;
  return NotSimulated(handle);
}

extern "C" int mli_clear_config(MLI_HANDLE handle) { return NotSimulated(handle); }

extern "C" int mli_flush_logs(MLI_HANDLE handle) { return NotSimulated(handle); }
