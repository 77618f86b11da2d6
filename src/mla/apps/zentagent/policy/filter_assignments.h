// Which filter is meant for which interface or IP: the assignments of one
// filter family resolved into filterInterfaceIdMap and filterIpIdMap, which
// the packet and payload filter writers read.
#pragma once

#include <cstdint>
#include <string>

#include "policy/raw_config.h"

// Records that filterId is bound to ipId (when not 0) or to interfaceId.
// filterType ("FW" or "DPI") is only for the log.
void AddFilter(RawConfig& rawConfig, const wchar_t* filterType, const std::string& filterId, int32_t interfaceId,
               int32_t ipId);

// Resolves every entry of assignmentMap, in key order, whose filter is in
// filterMap: by all, interfaceId, interfaceTypeId or ipId, the first that
// holds. The caller empties the two filter maps before each family.
void ProcessFilters(RawConfig& rawConfig, const wchar_t* filterType, const AttrMapIndex& assignmentMap,
                    const AttrMapIndex& filterMap);
