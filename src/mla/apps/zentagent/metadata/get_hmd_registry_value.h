// The "getRegistryValue" query family: one registry value, by key path and
// value name ("@" for the key's default value).
#pragma once

#include <tinyxml2.h>

#include <string>

// Adds a result with one "registryValue" object: the value's type number and
// its data as the type calls for. Returns false, with no result, when the key
// cannot be opened for reading; true, with no result, when the value is
// absent.
bool GetHmdRegistryValue(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                         const std::string& keyPath, const std::string& valueName);
