// The "getInstalledSoftware" query family: the programs that the uninstall
// keys of the registry list, 64-bit ones first, then 32-bit ones.
#pragma once

#include <tinyxml2.h>

#include <string>

// Adds the result with one "installedSoftware" object per listed subkey of
// each key. False, with a result that has neither hash nor objects, when
// the first key cannot be opened; the second key missing counts as empty.
bool GetHmdInstalledSoftware(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results,
                             const std::string& id);
