// Log flushing is not simulated yet: the call fails as a driver that refuses
// it would, with a text for mli_get_error.
#include "channel.h"

using namespace zentsim::mli;

extern "C" int mli_flush_logs(MLI_HANDLE handle) {
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  return Fail(*channel, "not simulated yet");
}
