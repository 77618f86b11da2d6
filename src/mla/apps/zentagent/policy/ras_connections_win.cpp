// The active dial-up connections and the options of their phone-book
// entries, gathered for GetRASConnectionInfo.
#include <windows.h>
#include <ras.h>
#include <raserror.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "policy/platform_interfaces.h"
#include "util/text_win.h"

namespace {

constexpr DWORD kRasConnSize = 1388;
constexpr DWORD kRasEntrySize = 5680;

// The entry's options; absent when the entry cannot be read.
std::optional<uint32_t> EntryOptions(const RASCONNW& connection) {
  DWORD size = 0;
  RasGetEntryPropertiesW(connection.szPhonebook, connection.szEntryName, nullptr, &size, nullptr, nullptr);
  if (size < kRasEntrySize) size = kRasEntrySize;
  std::vector<unsigned char> buffer;
  DWORD result;
  do {
    buffer.assign(size, 0);
    auto* entry = reinterpret_cast<RASENTRYW*>(buffer.data());
    entry->dwSize = kRasEntrySize;
    result = RasGetEntryPropertiesW(connection.szPhonebook, connection.szEntryName, entry, &size, nullptr, nullptr);
  } while (result == ERROR_BUFFER_TOO_SMALL && size > buffer.size());
  if (result != 0) return std::nullopt;
  return reinterpret_cast<const RASENTRYW*>(buffer.data())->dwfOptions;
}

}  // namespace

std::vector<RasConnection> ListRasConnections() {
  // The service reads the array with the stride that dwSize gives, which is
  // not this header's size of the record: entries are laid out and read by
  // that stride, and only the record's leading fields are used.
  std::vector<unsigned char> buffer(kRasConnSize, 0);
  DWORD size = kRasConnSize;
  DWORD count = 0;
  DWORD result;
  do {
    buffer.assign((size + kRasConnSize - 1) / kRasConnSize * kRasConnSize, 0);
    for (size_t at = 0; at < buffer.size(); at += kRasConnSize) std::memcpy(&buffer[at], &kRasConnSize, sizeof(DWORD));
    size = static_cast<DWORD>(buffer.size());
    result = RasEnumConnectionsW(reinterpret_cast<RASCONNW*>(buffer.data()), &size, &count);
  } while (result == ERROR_BUFFER_TOO_SMALL && size > buffer.size());
  std::vector<RasConnection> listed;
  if (result != 0) return listed;
  for (DWORD i = 0; i < count && (i + 1) * kRasConnSize <= buffer.size(); ++i) {
    RASCONNW c = {};
    std::memcpy(&c, &buffer[i * kRasConnSize], std::min<size_t>(sizeof c, kRasConnSize));
    RasConnection connection;
    connection.entryName = wideToAnsi(c.szEntryName);
    connection.guidText = RasGuidText(c.guidEntry.Data1, c.guidEntry.Data2, c.guidEntry.Data3, c.guidEntry.Data4);
    connection.entryOptions = EntryOptions(c);
    listed.push_back(std::move(connection));
  }
  return listed;
}
