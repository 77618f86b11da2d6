// How a registry key's full name splits into one of the seven predefined
// roots and the path below it.
#pragma once

#include <string>

// Long and short names of the roots, in the order they are searched.
struct RegRootName {
  const char* longName;
  const char* shortName;
};
extern const RegRootName kRegRootNames[7];

// Replaces name by the path below its root and returns the root's index. A
// root text that names no root (upper-cased before the comparison) is
// logged and gives index 0, the whole name then standing as the path.
int ExtractKeyName(std::string& name);
