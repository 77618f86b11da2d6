#include <windows.h>

#include <vector>

#include "log/debug_log.h"
#include "policy/driver_interfaces.h"
#include "records/engine_state_win.h"

bool GetDriverInterfaces(AttrMapIndex& map) {
  std::vector<unsigned char> buffer(4 + MLI_IFCONFIG_MAX_ENTRIES * MLI_IFCONFIG_ENTRY_SIZE, 0);
  if (mli_ifconfig(g_Engine.hDriver, buffer.data()) != 0) {
    ZENT_LOG(1, L"mli_ifconfig failed\n");
    return false;
  }
  std::vector<DriverInterface> interfaces;
  for (const IfconfigEntry& entry : ReadIfconfigBuffer(buffer.data())) {
    char name[1024];
    std::u16string wide = entry.name;
    int length = WideCharToMultiByte(CP_UTF8, 0, reinterpret_cast<const wchar_t*>(wide.c_str()), -1, name,
                                     sizeof name, nullptr, nullptr);
    interfaces.push_back({entry.id, entry.address, length > 0 ? std::string(name) : "<UTF8 Conversion error>"});
  }
  GetDriverInterfaces(map, interfaces);
  return true;
}
