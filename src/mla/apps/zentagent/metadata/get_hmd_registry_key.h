// The "getRegistryKey" query family: the names of the subkeys and values
// under one registry key.
#pragma once

#include <tinyxml2.h>

#include <string>

// Adds a result with one "registryKey" object whose attributes "subkeys" and
// "valuenames" list the names, each when there is one at least. Returns
// false, with no result, when the key cannot be opened for reading.
bool GetHmdRegistryKey(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                       const std::string& keyPath);
