// The driver's view of the machine's interfaces. Tests describe them in the
// knob "Interfaces", one line each: the driver's id, the MAC address as hex
// bytes joined by ':' (at most 8), a blank, and the interface's name, e.g.
//   3 00:0c:29:aa:bb:cc Ethernet0
// "IfconfigFails" non-zero makes the call fail with that result.
#include <windows.h>

#include <cstring>
#include <sstream>
#include <string>

#include "channel.h"
#include "crash_in.h"
#include "sim_registry.h"

using namespace zentsim::mli;

namespace {

constexpr size_t kCountOffset = 0;
constexpr size_t kEntriesOffset = 4;
constexpr size_t kIdOffset = 0, kMacOffset = 4, kMacLengthOffset = 12, kNameOffset = 16;
constexpr size_t kMacBytes = 8;
constexpr size_t kNameBytes = MLI_IFCONFIG_ENTRY_SIZE - kNameOffset;

// One line of the knob into one entry; false for a line that is no entry.
bool WriteEntry(const std::string& line, unsigned char* entry) {
  std::istringstream in(line);
  uint32_t id = 0;
  std::string mac;
  if (!(in >> id >> mac)) return false;
  std::string name;
  std::getline(in >> std::ws, name);

  unsigned char bytes[kMacBytes] = {};
  uint32_t count = 0;
  std::istringstream macIn(mac);
  for (std::string part; std::getline(macIn, part, ':');) {
    if (count == kMacBytes || part.empty() || part.size() > 2) return false;
    bytes[count++] = static_cast<unsigned char>(std::stoul(part, nullptr, 16));
  }
  std::memcpy(entry + kIdOffset, &id, 4);
  std::memcpy(entry + kMacOffset, bytes, kMacBytes);
  std::memcpy(entry + kMacLengthOffset, &count, 4);
  // The name in UTF-16, cut to leave room for its closing zero.
  wchar_t wide[kNameBytes / 2] = {};
  MultiByteToWideChar(CP_UTF8, 0, name.c_str(), -1, wide, kNameBytes / 2 - 1);
  std::memcpy(entry + kNameOffset, wide, kNameBytes);
  return true;
}

}  // namespace

extern "C" int mli_ifconfig(MLI_HANDLE handle, void* buffer) {
  CrashIfAsked("mli_ifconfig");
  Channel* channel = Find(handle);
  if (!channel) return kBadHandle;
  if (uint32_t fails = zentsim::ReadDword(kStandIn, L"IfconfigFails", 0)) {
    return Fail(*channel, "interface list refused by driver", static_cast<int>(fails));
  }
  auto* out = static_cast<unsigned char*>(buffer);
  std::memset(out, 0, kEntriesOffset + MLI_IFCONFIG_MAX_ENTRIES * MLI_IFCONFIG_ENTRY_SIZE);
  uint16_t count = 0;
  std::istringstream lines(zentsim::ReadString(kStandIn, L"Interfaces").value_or(""));
  for (std::string line; std::getline(lines, line) && count < MLI_IFCONFIG_MAX_ENTRIES;) {
    if (WriteEntry(line, out + kEntriesOffset + count * MLI_IFCONFIG_ENTRY_SIZE)) ++count;
  }
  std::memcpy(out + kCountOffset, &count, 2);
  zentsim::Count(kStandIn, L"IfconfigCalls");
  return 0;
}
