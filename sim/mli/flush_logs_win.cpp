// mli_flush_logs: the driver hands over what it buffered. Knobs:
// "FlushFails" non-zero is the result, with "flush refused by driver" for
// mli_get_error; "FlushDelayMs" is how long the driver takes, during which
// reads on the same handle go on.
#include <windows.h>

#include "channel.h"
#include "crash_in.h"
#include "log_records.h"
#include "sim_registry.h"

using namespace zentsim::mli;

extern "C" int mli_flush_logs(MLI_HANDLE handle) {
  CrashIfAsked("mli_flush_logs");
  Channel* channel = Enter(handle);
  if (!channel) return kBadHandle;
  AddToRecord(L"FlushCalls");
  uint32_t fails = zentsim::ReadDword(kStandIn, L"FlushFails", 0);
  if (uint32_t delayMs = zentsim::ReadDword(kStandIn, L"FlushDelayMs", 0)) Sleep(delayMs);
  int result = fails ? Fail(*channel, "flush refused by driver", static_cast<int>(fails)) : 0;
  Leave(*channel);
  return result;
}
