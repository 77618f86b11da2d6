#include "metadata/query_families.h"

#include "metadata/listen_ports_win.h"

#include <vector>

std::span<const HmdQueryFamily> HmdQueryFamilies() {
  // One row per family. A handler with fewer arguments is adapted here, e.g.
  //   {"getRegistryKey", "GetHmdRegistryKey",
  //    [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
  //       const std::string&, const std::string&) { return GetHmdRegistryKey(d, r, id, a1); },
  //    HmdSuccessLine::Key},
  static const std::vector<HmdQueryFamily> families = {
      {"getListenPorts", "GetHmdListenPorts",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
          const std::string& a2, const std::string&) { return GetHmdListenPorts(d, r, id, a1, a2); },
       HmdSuccessLine::Plain},
  };
  return families;
}
