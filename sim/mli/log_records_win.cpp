#include "log_records.h"

#include <windows.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "channel.h"
#include "sim_registry.h"

namespace zentsim::mli {

namespace {

constexpr DWORD kWriteEveryMs = 100;

struct Pending {
  std::map<std::wstring, uint32_t> counts;
  std::map<std::wstring, std::optional<uint64_t>> qwords;  // nothing: remove
};

std::mutex pendingLock;
Pending pending;
// Held from taking the batch to its last write, so that mli_close returns
// only once a batch the writer thread took is in the registry: a test's
// scope may go right after.
std::mutex writeLock;

// Set when a record waits to be written: an idle driver costs its host no
// wake-ups.
HANDLE recordsWaiting = CreateEventW(nullptr, FALSE, FALSE, nullptr);

DWORD WINAPI WriterThread(void*) {
  for (;;) {
    WaitForSingleObject(recordsWaiting, INFINITE);
    Sleep(kWriteEveryMs);
    WriteRecords();
  }
}

}  // namespace

void AddToRecord(const wchar_t* value, uint32_t amount) {
  std::lock_guard lock(pendingLock);
  pending.counts[value] += amount;
  SetEvent(recordsWaiting);
}

void SetQwordRecord(const wchar_t* value, uint64_t data) {
  std::lock_guard lock(pendingLock);
  pending.qwords[value] = data;
  SetEvent(recordsWaiting);
}

void RemoveRecord(const wchar_t* value) {
  std::lock_guard lock(pendingLock);
  pending.qwords[value] = std::nullopt;
  SetEvent(recordsWaiting);
}

void WriteRecords() {
  std::lock_guard writing(writeLock);
  Pending batch;
  {
    std::lock_guard lock(pendingLock);
    std::swap(batch, pending);
  }
  for (const auto& [value, amount] : batch.counts) zentsim::Add(kStandIn, value.c_str(), amount);
  for (const auto& [value, data] : batch.qwords) {
    if (data) {
      zentsim::WriteQword(kStandIn, value.c_str(), *data);
    } else {
      zentsim::DeleteValue(kStandIn, value.c_str());
    }
  }
}

void StartRecordWriter() {
  static std::once_flag started;
  std::call_once(started, [] {
    HANDLE thread = CreateThread(nullptr, 0, WriterThread, nullptr, 0, nullptr);
    if (thread) CloseHandle(thread);
  });
}

}  // namespace zentsim::mli
