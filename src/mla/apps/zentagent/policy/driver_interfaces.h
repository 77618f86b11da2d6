// The filter driver's view of the machine's interfaces: driverIfByMACMap.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "policy/attr_map.h"

// One entry of the buffer that mli_ifconfig fills, as it stands.
struct IfconfigEntry {
  uint32_t id = 0;
  std::string address;  // the MAC bytes in use
  std::u16string name;  // up to its closing zero
};

// Reads mli_ifconfig's buffer: a 2-byte count at offset 0, then 276-byte
// entries from offset 4. The buffer has room for 32 entries; a count beyond
// that reads no further than the room.
std::vector<IfconfigEntry> ReadIfconfigBuffer(const unsigned char* buffer);

// One interface of the driver, its name in UTF-8.
struct DriverInterface {
  uint32_t id = 0;
  std::string address;
  std::string name;
};

// Fills driverIfByMACMap with `name`, `mac` and `id`, keyed by `mac`.
void GetDriverInterfaces(AttrMapIndex& map, const std::vector<DriverInterface>& interfaces);

#ifdef _WIN32
// Asks the driver through the engine's handle (mli_ifconfig). False, logged,
// when the driver refuses; true otherwise, also for no interface.
bool GetDriverInterfaces(AttrMapIndex& map);
#endif
