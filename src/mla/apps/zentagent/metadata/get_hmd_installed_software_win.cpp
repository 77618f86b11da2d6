#include "metadata/compute_hash.h"
#include "metadata/get_hmd_installed_software.h"
#include "metadata/installed_software.h"
#include "metadata/result_shell.h"
#include "util/reg_key_win.h"

namespace {

const char kUninstallKey[] = "HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall";
const char kUninstallKey32[] = "HKLM\\Software\\WOW6432node\\Microsoft\\Windows\\CurrentVersion\\Uninstall";

UninstallValueReads ReadsOf(utilRegKey& key) {
  return {
      [&key](const std::string& name) { return key.ValueExists(name); },
      [&key](const std::string& name) { return static_cast<uint32_t>(key.GetValueType(name)); },
      [&key](const std::string& name, std::string& text) { return key.QueryValue(name, text, false); },
      [&key](const std::string& name, uint32_t& value) {
        DWORD read = 0;
        if (!key.QueryValue(name, &read)) return false;
        value = read;
        return true;
      },
  };
}

// Each subkey in the order the registry enumerates them; one that does not
// open (utilRegKey logs it) is passed over.
bool WalkUninstallKey(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* hostMetaDatas, const char* path) {
  utilRegKey key(path);
  if (!key.Open(0)) return false;
  std::string name;
  DWORD index = 0;
  while (key.GetNextKey(name, index)) {
    utilRegKey subkey(std::string(path) + "\\" + name);
    if (!subkey.Open(0)) continue;
    AddInstalledSoftwareObject(document, hostMetaDatas, name, subkey.GetStdKeyFromHkey(), ReadsOf(subkey));
  }
  return true;
}

}  // namespace

bool GetHmdInstalledSoftware(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results,
                             const std::string& id) {
  HmdResultShell shell = AddResultShell(document, results, "2", id);
  if (!WalkUninstallKey(document, shell.hostMetaDatas, kUninstallKey)) return false;
  // The 32-bit programs' key is often missing: then there are none.
  WalkUninstallKey(document, shell.hostMetaDatas, kUninstallKey32);
  ComputeHash(shell.result);
  return true;
}
