#include "metadata/compute_hash.h"
#include "metadata/get_hmd_registry_key.h"
#include "metadata/queried_registry_key_win.h"
#include "metadata/registry_text.h"
#include "metadata/result_shell.h"

bool GetHmdRegistryKey(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                       const std::string& keyPath) {
  utilRegKey key(keyPath);
  if (!OpenQueriedRegistryKey(key, keyPath)) return false;
  HmdResultShell shell = AddResultShell(document, results, "1", id);
  tinyxml2::XMLElement* attributes = AddHostMetaData(document, shell.hostMetaDatas, "registryKey", keyPath);
  // Each walk ends at its end or at its first failure (a value name longer
  // than the enumeration's buffer, for one), which utilRegKey logs; the names
  // before it stand.
  std::string subkeys;
  std::string name;
  DWORD index = 0;
  while (key.GetNextKey(name, index)) AppendRegistryKeyName(subkeys, name);
  if (!subkeys.empty()) AddAttribute(document, attributes, "subkeys", subkeys);
  std::string valueNames;
  index = 0;
  while (key.GetNextValue(name, index)) AppendRegistryValueName(valueNames, name);
  if (!valueNames.empty()) AddAttribute(document, attributes, "valuenames", valueNames);
  ComputeHash(shell.result);
  return true;
}
