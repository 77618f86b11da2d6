// mli_get_log: the records of the log script the knob "LogScript" names
// (log_script.h), delivered as the driver delivers its own. With nothing to
// deliver a read waits, as the driver's does, so that the engine's pump
// idles instead of spinning: for a new script (a change of the stand-in's
// key wakes it), for the engine's stop event, or at most "IdleWaitMs".
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>

#include "channel.h"
#include "crash_in.h"
#include "log_records.h"
#include "log_script.h"
#include "log_script_file.h"
#include "sim_registry.h"

namespace {

using namespace zentsim::mli;

// The kind under which the engine registers its stop event.
constexpr int kStopEventKind = 0;
// An idle read looks for a new script when the stand-in's key changes, and
// at this period besides, for a script file that changed under the same
// knob.
constexpr DWORD kScriptPollMs = 1000;
constexpr uint32_t kDefaultIdleWaitMs = 30000;
constexpr uint32_t kDefaultQueueRecords = 4096;

constexpr size_t kLogIdOffset = 24;
constexpr size_t kDataLengthOffset = 58;
constexpr size_t kDataPointerOffset = 184;

uint64_t Now() {
  LARGE_INTEGER counter;
  QueryPerformanceCounter(&counter);
  return static_cast<uint64_t>(counter.QuadPart);
}

uint64_t Frequency() {
  static const uint64_t frequency = [] {
    LARGE_INTEGER value;
    QueryPerformanceFrequency(&value);
    return static_cast<uint64_t>(value.QuadPart);
  }();
  return frequency;
}

// Plays the knob's script if it is new. A script that cannot be played is
// remembered as well, so that it is not tried again until it changes.
void LookForScript(LogChannel& log) {
  std::optional<ScriptIdentity> script = ScriptInKnob();
  if (!script || script == log.lastScript) return;
  std::string bytes;
  std::string problem;
  std::vector<ScriptEntry> entries;
  if (ReadScriptFile(script->path, bytes, problem)) problem = ParseLogScript(bytes, entries);
  // A file still being written is taken at a later poll, once it holds still.
  if (ScriptInKnob() != script) return;
  log.lastScript = script;
  if (!problem.empty()) {
    zentsim::WriteString(kStandIn, L"LastScriptError", problem);
    return;
  }
  StartScript(log.queue, std::move(entries), Now());
  log.playing = true;
  log.deliveredOne = false;
  AddToRecord(L"ScriptsPlayed");
  RemoveRecord(L"ScriptFirstQpc");
  RemoveRecord(L"ScriptDoneQpc");
  SetQwordRecord(L"QpcFrequency", Frequency());
}

// The reader has taken the script's last record: the end of a benchmark's
// measure, so the records go out at once.
void FinishScript(LogChannel& log) {
  log.playing = false;
  SetQwordRecord(L"ScriptDoneQpc", Now());
  WriteRecords();
}

// Room of the driver's queue; only entries with a rate use it.
uint32_t QueueRoom(const LogQueue& queue) {
  bool rated = queue.current < queue.entries.size() && queue.entries[queue.current].rate != 0;
  return rated ? zentsim::ReadDword(kStandIn, L"QueueRecords", kDefaultQueueRecords) : 0;
}

int Deliver(Channel& channel, const Copy& copy, unsigned char* record, void** extra, uint32_t* extraLength) {
  LogChannel& log = channel.log;
  const ScriptEntry& entry = log.queue.entries[copy.entry];
  std::memcpy(record, entry.record.data(), kRecordSize);
  if (entry.kind == EntryKind::kGenerator) {
    uint32_t logId = 0;
    std::memcpy(&logId, record + kLogIdOffset, sizeof logId);
    logId += copy.sequence;
    std::memcpy(record + kLogIdOffset, &logId, sizeof logId);
  }
  log.extra = entry.extra;
  log.data = entry.data;
  // The reader takes dataLength bytes at dataPointer, whatever the script
  // gave; the bytes beyond read as zeros.
  uint16_t dataLength = 0;
  std::memcpy(&dataLength, record + kDataLengthOffset, sizeof dataLength);
  if (log.data.size() < dataLength) log.data.resize(dataLength, '\0');
  if (!(entry.flags & kFlagRecordPointer)) {
    const char* data = log.data.data();
    std::memcpy(record + kDataPointerOffset, &data, sizeof data);
  }
  *extra = (entry.flags & kFlagNullExtra) || log.extra.empty() ? nullptr : log.extra.data();
  *extraLength = static_cast<uint32_t>(log.extra.size());
  if (!log.deliveredOne) {
    log.deliveredOne = true;
    SetQwordRecord(L"ScriptFirstQpc", Now());
  }
  AddToRecord(entry.kind == EntryKind::kFailingCall ? L"LogFailuresDelivered" : L"LogRecordsDelivered");
  if (entry.result != 0) return Fail(channel, "scripted failure", static_cast<int>(entry.result));
  return 0;
}

// An event set when a value of the stand-in's key is written (a new
// "LogScript" among them), armed again before each wait; null when the key
// cannot be watched (it does not exist yet), and the period alone then finds
// a new script. The key is opened again when its path changes (a test's
// scope) or watching it failed (the key was deleted).
HANDLE KnobChanged() {
  static std::mutex lock;
  static std::wstring watchedPath;
  static HKEY key = nullptr;
  static HANDLE changed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  std::lock_guard guard(lock);
  std::wstring path = zentsim::KeyPath(kStandIn);
  if (key && path != watchedPath) {
    RegCloseKey(key);
    key = nullptr;
  }
  // Opened, never created: a key that a test has removed stays removed.
  if (!key && RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_NOTIFY | KEY_READ, &key) != ERROR_SUCCESS) {
    key = nullptr;
  }
  watchedPath = path;
  if (!key || !changed) return nullptr;
  if (RegNotifyChangeKeyValue(key, FALSE, REG_NOTIFY_CHANGE_LAST_SET, changed, TRUE) != ERROR_SUCCESS) {
    RegCloseKey(key);
    key = nullptr;
    return nullptr;
  }
  return changed;
}

// Waits up to `ms`; false when the stop event or mli_close ended the wait.
// A change of the stand-in's knobs ends it early, with true.
bool WaitQuietly(Channel& channel, DWORD ms, bool forScript) {
  HANDLE handles[3] = {channel.closing, nullptr, nullptr};
  DWORD count = 1;
  {
    // Its own reference, as the engine may register another stop event
    // meanwhile.
    std::lock_guard lock(channel.lock);
    auto it = channel.events.find(kStopEventKind);
    if (it != channel.events.end() &&
        DuplicateHandle(GetCurrentProcess(), it->second, GetCurrentProcess(), &handles[1], 0, FALSE,
                        DUPLICATE_SAME_ACCESS)) {
      count = 2;
    }
  }
  bool stopWatched = count == 2;
  DWORD knobIndex = MAXDWORD;
  if (forScript) {
    if (HANDLE changed = KnobChanged()) {
      knobIndex = count;
      handles[count++] = changed;
    }
  }
  DWORD ended = WaitForMultipleObjects(count, handles, FALSE, ms);
  if (stopWatched) CloseHandle(handles[1]);
  return ended == WAIT_TIMEOUT || ended == WAIT_OBJECT_0 + knobIndex;
}

int ReadLog(Channel& channel, unsigned char* record, void** extra, uint32_t* extraLength) {
  LogChannel& log = channel.log;
  std::lock_guard reading(log.lock);
  AddToRecord(L"LogCalls");
  *extra = nullptr;
  *extraLength = 0;
  uint64_t deadline = 0;
  for (;;) {
    if (!log.playing) LookForScript(log);
    DWORD waitMs = kScriptPollMs;
    if (log.playing) {
      NextStep step = TakeNext(log.queue, Now(), Frequency(), QueueRoom(log.queue));
      if (step.dropped) AddToRecord(L"DroppedByDriver", step.dropped);
      if (step.what == NextStep::kDeliver) return Deliver(channel, step.copy, record, extra, extraLength);
      if (step.what == NextStep::kDone) {
        FinishScript(log);
        continue;
      }
      waitMs = static_cast<DWORD>((step.waitTicks * 1000 + Frequency() - 1) / Frequency());
    }
    // Nothing to deliver now: the knob is read once the read first waits.
    uint64_t now = Now();
    if (deadline == 0) {
      deadline = now + zentsim::ReadDword(kStandIn, L"IdleWaitMs", kDefaultIdleWaitMs) * Frequency() / 1000;
    }
    if (now >= deadline) break;
    DWORD leftMs = static_cast<DWORD>((deadline - now) * 1000 / Frequency());
    if (!WaitQuietly(channel, std::max<DWORD>(1, std::min(waitMs, leftMs)), !log.playing)) break;
  }
  return Fail(channel, "no log record");
}

}  // namespace

extern "C" int mli_get_log(MLI_HANDLE handle, void* record, void** extra, uint32_t* extraLength) {
  CrashIfAsked("mli_get_log");
  Channel* channel = Enter(handle);
  if (!channel) return kBadHandle;
  int result = ReadLog(*channel, static_cast<unsigned char*>(record), extra, extraLength);
  Leave(*channel);
  return result;
}
