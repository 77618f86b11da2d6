// How the registry query families write what they read: the text of each
// value type, the lists of names under a key, and the identifiers. Plain
// strings in and out; the gathering is in get_hmd_registry_value_win.cpp
// and get_hmd_registry_key_win.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The identifier of a value's object: the key path and the value name as the
// server sent them, a backslash between. A key path ending in a backslash
// thus gives two, and "@" stays "@".
std::string RegistryValueIdentifier(const std::string& keyPath, const std::string& valueName);

// The name to read: "@" names the key's default value, which the registry
// knows by the empty name.
std::string RegistryValueNameToRead(const std::string& valueName);

// A REG_SZ or REG_EXPAND_SZ text as it is stored in the document: up to its
// first zero byte.
std::string RegistryStringText(const std::string& text);

// A REG_BINARY value, read as text (UTF-8 of the data taken as UTF-16): each
// byte as two lower-case hex digits, by the byte's unsigned value.
std::string RegistryBinaryText(const std::string& text);

// A REG_DWORD as a signed decimal number.
std::string RegistryDwordText(uint32_t value);

// The strings of a REG_MULTI_SZ read as text (its strings with their zeros):
// in order, up to the first empty string or the end of the data.
std::vector<std::string> RegistryMultiStrings(const std::string& text);

// Appends one subkey name to a list: in double quotes, a comma before all
// but the first; quotes inside the name stay as they are.
void AppendRegistryKeyName(std::string& list, const std::string& name);

// The same for a value name; the default value's empty name is written "@".
void AppendRegistryValueName(std::string& list, const std::string& name);
