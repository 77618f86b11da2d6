// The body that posts a metadata result back on the direct HTTP path.
#pragma once

#include <string>

// {"name": "UpdateHostMetaData", "metaData": ...} with the whole result
// document in metaData, pretty-printed with an indent of 4; false when the
// template is not an object.
bool BuildUpdateHostMetaData(const std::string& metaData, std::string& body);
