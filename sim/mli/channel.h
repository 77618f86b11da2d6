// One open channel of mli.dll's stand-in: what the driver would keep per
// handle. The record lives in the process that opened it; what tests need to
// see across processes goes to the registry (sim/common/sim_registry.h).
#pragma once

#include "platform/mli.h"

#include <map>
#include <mutex>
#include <string>

namespace zentsim::mli {

inline const std::wstring kStandIn = L"mli";

// Result of a call on a handle that is not open (never opened, or closed).
constexpr int kBadHandle = 6;  // ERROR_INVALID_HANDLE
constexpr int kFailed = -1;

// The agent's threads share one handle: the pump reads records while the
// dispatcher loads rules, so a channel's fields are used under its lock.
struct Channel {
  std::mutex lock;
  std::string lastError;
  // The events registered by kind; the channel holds its own reference, as
  // the driver does, so that a caller may close its handle first.
  std::map<int, void*> events;
};

// The channel behind a handle, or null if the handle is not open. A handle
// stays valid until mli_close, which the engine calls once its threads are
// gone.
Channel* Find(MLI_HANDLE handle);

// Records a failure's text for mli_get_error and returns result.
int Fail(Channel& channel, const std::string& text, int result = kFailed);

}  // namespace zentsim::mli
