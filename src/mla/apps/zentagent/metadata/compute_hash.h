// ComputeHash: the SHA-1 digest by which the server tells whether a query's
// answer changed since it last asked.
#pragma once

#include <tinyxml2.h>

// Digests, in document order, the type and identifier of every HostMetaData
// and the name and value of every Attribute below resultElement (those that
// have both), with nothing between them, and sets the result's hash to the
// 20 bytes as upper-case hex pairs joined by colons. The result's own
// attributes, its id among them, do not count. If the digest cannot start,
// the result stays without hash.
void ComputeHash(tinyxml2::XMLElement* resultElement);
