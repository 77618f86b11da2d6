// The InterfaceConfig elements of the agent configuration document: each
// stateful filter assignment, bound to all interfaces or to one.
#pragma once

#include <tinyxml2.h>

#include "policy/raw_config.h"

// Prints one InterfaceConfig element into the open fset for each entry of
// statefulAssignmentMap, in key order, whose filter is in statefulMap and
// whose target resolves: all interfaces ("global"), else the first
// interface of workingIfMap of its interfaceTypeId, else of its
// interfaceId.
void ProcessInterfaceAssignments(RawConfig& rawConfig, tinyxml2::XMLPrinter& out);
