// The driver's event records. No record is simulated yet: a read waits as
// the driver's would, so that the engine's pump thread idles instead of
// spinning, and returns early when the engine's stop event is signalled.
#include "channel.h"

#include <windows.h>

namespace {

// How long one read waits for a record that never comes.
constexpr DWORD kReadWaitMs = 500;
// The kind under which the engine registers its stop event.
constexpr int kStopEventKind = 0;

}  // namespace

using namespace zentsim::mli;

extern "C" int mli_get_log(MLI_HANDLE handle, void* record, void** extra, uint32_t* extraLength) {
  (void)record;
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  if (extra) *extra = nullptr;
  if (extraLength) *extraLength = 0;
  HANDLE stop = nullptr;
  {
    std::lock_guard lock(channel->lock);
    auto it = channel->events.find(kStopEventKind);
    if (it != channel->events.end()) stop = it->second;
  }
  if (stop) {
    WaitForSingleObject(stop, kReadWaitMs);
  } else {
    Sleep(kReadWaitMs);
  }
  return Fail(*channel, "no log record");
}
