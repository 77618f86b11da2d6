#include "policy/driver_interfaces.h"

#include <memory>

#include "platform/mli.h"
#include "util/mac_text.h"

namespace {

constexpr size_t kEntriesOffset = 4;
constexpr size_t kIdOffset = 0, kMacOffset = 4, kMacLengthOffset = 12, kNameOffset = 16;
constexpr size_t kMacBytes = 8;
constexpr size_t kNameUnits = (MLI_IFCONFIG_ENTRY_SIZE - kNameOffset) / 2;

uint32_t LittleEndian32(const unsigned char* at) {
  return uint32_t{at[0]} | uint32_t{at[1]} << 8 | uint32_t{at[2]} << 16 | uint32_t{at[3]} << 24;
}

}  // namespace

std::vector<IfconfigEntry> ReadIfconfigBuffer(const unsigned char* buffer) {
  size_t count = buffer[0] | buffer[1] << 8;
  if (count > MLI_IFCONFIG_MAX_ENTRIES) count = MLI_IFCONFIG_MAX_ENTRIES;
  std::vector<IfconfigEntry> entries;
  for (size_t i = 0; i < count; ++i) {
    const unsigned char* entry = buffer + kEntriesOffset + i * MLI_IFCONFIG_ENTRY_SIZE;
    IfconfigEntry e;
    e.id = LittleEndian32(entry + kIdOffset);
    size_t macLength = LittleEndian32(entry + kMacLengthOffset);
    if (macLength > kMacBytes) macLength = kMacBytes;
    e.address.assign(reinterpret_cast<const char*>(entry + kMacOffset), macLength);
    // A name that fills its field without a zero ends at the field's end.
    for (size_t u = 0; u < kNameUnits; ++u) {
      char16_t unit = static_cast<char16_t>(entry[kNameOffset + 2 * u] | entry[kNameOffset + 2 * u + 1] << 8);
      if (unit == 0) break;
      e.name += unit;
    }
    entries.push_back(std::move(e));
  }
  return entries;
}

void GetDriverInterfaces(AttrMapIndex& map, const std::vector<DriverInterface>& interfaces) {
  for (const DriverInterface& driverIf : interfaces) {
    auto attrs = std::make_unique<AttrMap>();
    std::string address = driverIf.address;
    std::string mac = BytesToMacText(address);
    InsertAttr(*attrs, "name", driverIf.name);
    InsertAttr(*attrs, "mac", mac);
    InsertAttr(*attrs, "id", std::to_string(driverIf.id));
    // Two entries with one MAC: the first stands.
    InsertAttrMap(map, mac, std::move(attrs));
  }
}
