// Opening and closing the driver channel, its events and its error text.
#include "channel.h"
#include "crash_in.h"

#include "log_records.h"
#include "sim_registry.h"

#include <windows.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <set>

namespace zentsim::mli {

namespace {

std::mutex openLock;
std::set<Channel*> openChannels;
// Signalled when a channel's last call under way ends.
std::condition_variable callEnded;

Channel* FindLocked(MLI_HANDLE handle) {
  auto it = openChannels.find(static_cast<Channel*>(handle));
  if (it != openChannels.end()) return *it;
  // A call on a closed or foreign handle is a bug of the caller's; tests
  // look for it here.
  Count(kStandIn, L"BadHandleCalls");
  return nullptr;
}

}  // namespace

Channel* Find(MLI_HANDLE handle) {
  std::lock_guard lock(openLock);
  return FindLocked(handle);
}

Channel* Enter(MLI_HANDLE handle) {
  std::lock_guard lock(openLock);
  Channel* channel = FindLocked(handle);
  if (channel) ++channel->callsInProgress;
  return channel;
}

void Leave(Channel& channel) {
  std::lock_guard lock(openLock);
  if (--channel.callsInProgress == 0) callEnded.notify_all();
}

int Fail(Channel& channel, const std::string& text, int result) {
  std::lock_guard lock(channel.lock);
  channel.lastError = text;
  return result;
}

}  // namespace zentsim::mli

using namespace zentsim::mli;

extern "C" MLI_HANDLE mli_open(void) {
  CrashIfAsked("mli_open");
  if (zentsim::ReadDword(kStandIn, L"OpenFails", 0) != 0) return nullptr;
  auto* channel = new Channel;
  channel->closing = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  StartRecordWriter();
  {
    std::lock_guard lock(openLock);
    openChannels.insert(channel);
  }
  zentsim::Count(kStandIn, L"Opened");
  return channel;
}

extern "C" int mli_close(MLI_HANDLE handle) {
  CrashIfAsked("mli_close");
  bool duringCall = false;
  Channel* channel = nullptr;
  {
    std::unique_lock lock(openLock);
    channel = FindLocked(handle);
    if (!channel) return kBadHandle;
    openChannels.erase(channel);
    // The engine closes the driver after its threads are gone; a call still
    // under way here is the shutdown race the agent's tests look for.
    duringCall = channel->callsInProgress > 0;
    SetEvent(channel->closing);
    callEnded.wait(lock, [channel] { return channel->callsInProgress == 0; });
  }
  if (duringCall) zentsim::Count(kStandIn, L"ClosedDuringCall");
  for (auto& [kind, event] : channel->events) CloseHandle(event);
  CloseHandle(channel->closing);
  delete channel;
  WriteRecords();
  zentsim::Count(kStandIn, L"Closed");
  return 0;
}

extern "C" int mli_get_version(MLI_HANDLE handle, char* buffer, int size) {
  CrashIfAsked("mli_get_version");
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  std::string version = zentsim::ReadString(kStandIn, L"Version").value_or("5.1.0.12");
  if (!buffer || size <= 0 || version.size() >= static_cast<size_t>(size)) {
    return Fail(*channel, "version buffer too small");
  }
  std::memcpy(buffer, version.c_str(), version.size() + 1);
  return 0;
}

extern "C" int mli_register_event(MLI_HANDLE handle, int kind, void* event) {
  CrashIfAsked("mli_register_event");
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  if (DWORD refused = zentsim::ReadDword(kStandIn, L"RegisterEventFails", 0)) {
    return Fail(*channel, "register event refused by driver", static_cast<int>(refused));
  }
  HANDLE own = nullptr;
  if (!event || !DuplicateHandle(GetCurrentProcess(), event, GetCurrentProcess(), &own, 0, FALSE,
                                 DUPLICATE_SAME_ACCESS)) {
    return Fail(*channel, "register event: not an event handle");
  }
  std::lock_guard lock(channel->lock);
  auto [it, added] = channel->events.emplace(kind, own);
  if (!added) {
    CloseHandle(it->second);
    it->second = own;
  }
  zentsim::Count(kStandIn, L"EventsRegistered");
  return 0;
}

extern "C" int mli_get_error(MLI_HANDLE handle, char* buffer, int size) {
  CrashIfAsked("mli_get_error");
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  if (!buffer || size <= 0) return kFailed;
  std::lock_guard lock(channel->lock);
  size_t length = std::min(channel->lastError.size(), static_cast<size_t>(size - 1));
  std::memcpy(buffer, channel->lastError.data(), length);
  buffer[length] = '\0';
  return 0;
}
