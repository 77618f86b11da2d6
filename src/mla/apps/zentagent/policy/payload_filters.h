// The PayloadFilter elements of the agent configuration document: each
// payload filter bound to interfaces, with its connection type, schedule,
// log flags, rule code and interface mask.
#pragma once

#include <tinyxml2.h>

#include "policy/raw_config.h"

// Prints one PayloadFilter into the open fset for each entry of
// filterInterfaceIdMap whose payload filter has a priority of 0 to 3,
// priority by priority. Reads the `ctype` that the connection type writer
// put into connectionMap, so it runs after that writer.
void WriteDpiFilters(RawConfig& rawConfig, tinyxml2::XMLPrinter& out);
