// One open channel of mli.dll's stand-in: what the driver would keep per
// handle. The record lives in the process that opened it; what tests need to
// see across processes goes to the registry (sim/common/sim_registry.h).
#pragma once

#include "log_queue.h"
#include "platform/mli.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace zentsim::mli {

inline const std::wstring kStandIn = L"mli";

// Result of a call on a handle that is not open (never opened, or closed).
constexpr int kBadHandle = 6;  // ERROR_INVALID_HANDLE
constexpr int kFailed = -1;

// A log script as last seen: a script is played again only when one of these
// changes. An absent or unreadable file has size and time 0.
struct ScriptIdentity {
  std::string path;
  uint64_t size = 0;
  uint64_t writeTime = 0;
  bool operator==(const ScriptIdentity&) const = default;
};

// The records the channel's reader gets, and the copies a delivery points
// into, which stay valid until the next mli_get_log on the handle.
struct LogChannel {
  std::mutex lock;  // one mli_get_log at a time
  LogQueue queue;
  bool playing = false;
  bool deliveredOne = false;  // the script in play has given its first record
  std::optional<ScriptIdentity> lastScript;
  std::string extra;
  std::string data;
};

// The agent's threads share one handle: the pump reads records while the
// dispatcher loads rules, so a channel's fields are used under its lock.
struct Channel {
  std::mutex lock;
  std::string lastError;
  // The events registered by kind; the channel holds its own reference, as
  // the driver does, so that a caller may close its handle first.
  std::map<int, void*> events;
  // mli_get_log and mli_flush_logs calls under way, counted under the lock
  // of the open channels: mli_close waits for them before freeing.
  int callsInProgress = 0;
  // Signalled by mli_close, so that an idle mli_get_log gives up at once.
  void* closing = nullptr;
  LogChannel log;
};

// The channel behind a handle, or null if the handle is not open. A handle
// stays valid until mli_close, which the engine calls once its threads are
// gone.
Channel* Find(MLI_HANDLE handle);

// The channel behind a handle, counted as a call under way until Leave; null,
// as for Find, when the handle is not open.
Channel* Enter(MLI_HANDLE handle);
void Leave(Channel& channel);

// Records a failure's text for mli_get_error and returns result.
int Fail(Channel& channel, const std::string& text, int result = kFailed);

}  // namespace zentsim::mli
