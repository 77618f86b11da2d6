// The conType elements of the agent configuration document: what traffic
// each connection type of the policy lets a payload filter look at.
#pragma once

#include <tinyxml2.h>

#include <cstdint>

#include "policy/raw_config.h"

// Numbers every entry of connectionMap in key order, from 1, into its
// AttrMap as `ctype`, which the payload filters read; so it runs before
// WriteDpiFilters. Prints one conType element per port item (the last one
// carrying the engine fragment), or one with icmp_type for ICMP, into the
// open fset.
// A connection type it can't resolve is logged and left out; its number
// stays taken.
void WriteConnectionTypes(RawConfig& rawConfig, tinyxml2::XMLPrinter& out);

// `icmp_type` of an ICMP connection: the two types cut to signed 8 bits,
// the first one high for inbound traffic and low for outbound, the sum read
// as a signed 16-bit number.
int16_t IcmpTypeValue(bool inbound, int32_t icmpType1, int32_t icmpType2);
