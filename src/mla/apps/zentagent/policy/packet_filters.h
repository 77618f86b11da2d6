// The firewall half of the agent configuration document: the PacketEngine
// element with the shared lists and one packetFilter per bound filter.
#pragma once

#include <tinyxml2.h>

#include "policy/attr_map.h"
#include "policy/raw_config.h"

// Prints PacketEngine into the open fset: the IP, MAC and port lists, schedules and
// logging policies, then a packetFilter for each filter bound to a host IP
// (filterIpIdMap), then one for each filter bound to interfaces
// (filterInterfaceIdMap). Both maps are filled by ProcessFilters with "FW"
// just before. Filters that can't be resolved are logged and left out.
void WritePacketFilters(RawConfig& rawConfig, tinyxml2::XMLPrinter& out);

// For each entry of the map, in key order, an element of that name with all
// the entry's attributes in key order, into the open element.
void WriteAttrElements(tinyxml2::XMLPrinter& out, const AttrMapIndex& map, const char* elementName);
