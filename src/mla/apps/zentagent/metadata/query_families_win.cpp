#include "metadata/query_families.h"

// Winsock's header has to come before windows.h, which the others bring.
#include "metadata/listen_ports_win.h"

#include <vector>

#include "metadata/file_contents.h"
#include "metadata/get_hmd_directory_listing.h"
#include "metadata/get_hmd_environment.h"
#include "metadata/get_hmd_file_info.h"
#include "metadata/get_hmd_installed_software.h"
#include "metadata/get_hmd_registry_key.h"
#include "metadata/get_hmd_registry_value.h"
#include "metadata/get_hmd_running_processes.h"
#include "metadata/get_hmd_services_win.h"

std::span<const HmdQueryFamily> HmdQueryFamilies() {
  // One row per family. A handler with fewer arguments is adapted here, e.g.
  //   {"getRegistryKey", "GetHmdRegistryKey",
  //    [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
  //       const std::string&, const std::string&) { return GetHmdRegistryKey(d, r, id, a1); },
  //    HmdSuccessLine::Key},
  static const std::vector<HmdQueryFamily> families = {
      {"getRegistryValue", "GetHmdRegistryValue",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
          const std::string& a2, const std::string&) { return GetHmdRegistryValue(d, r, id, a1, a2); },
       HmdSuccessLine::KeyValue},
      {"getRegistryKey", "GetHmdRegistryKey",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
          const std::string&, const std::string&) { return GetHmdRegistryKey(d, r, id, a1); },
       HmdSuccessLine::Key},
      {"getServices", "GetHmdServices",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
          const std::string& a2, const std::string&) { return GetHmdServices(d, r, id, a1, a2); },
       HmdSuccessLine::Plain},
      {"getListenPorts", "GetHmdListenPorts",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
          const std::string& a2, const std::string&) { return GetHmdListenPorts(d, r, id, a1, a2); },
       HmdSuccessLine::Plain},
      {"getInstalledSoftware", "GetHmdInstalledSoftware",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string&,
          const std::string&, const std::string&) { return GetHmdInstalledSoftware(d, r, id); },
       HmdSuccessLine::Plain},
      {"getEnvironment", "GetHmdEnvironment",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string&,
          const std::string&, const std::string&) { return GetHmdEnvironment(d, r, id); },
       HmdSuccessLine::Plain},
      {"getRunningProcesses", "GetHmdRunningProcesses",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string&,
          const std::string&, const std::string&) { return GetHmdRunningProcesses(d, r, id); },
       HmdSuccessLine::Plain},
      {"getFileInfo", "GetHmdFileInfo",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
          const std::string&, const std::string&) { return GetHmdFileInfo(d, r, id, a1); },
       HmdSuccessLine::File},
      {"getDirectoryListing", "GetHmdDirectoryListing",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
          const std::string&, const std::string&) { return GetHmdDirectoryListing(d, r, id, a1); },
       HmdSuccessLine::File},
      {"getFileContents", "GetHmdFileContents",
       [](tinyxml2::XMLDocument& d, tinyxml2::XMLElement* r, const std::string& id, const std::string& a1,
          const std::string& a2, const std::string& a3) { return GetHmdFileContents(d, r, id, a1, a2, a3); },
       HmdSuccessLine::Plain},
  };
  return families;
}
