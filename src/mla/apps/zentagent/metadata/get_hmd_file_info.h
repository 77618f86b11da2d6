// The "getFileInfo" query family: one path's kind, times, size, mode, short
// name, link target and version resource.
#pragma once

#include <tinyxml2.h>

#include <string>

// Adds a result with one "fileInfo" object for path, identified by path as
// received. False with no result when _stat fails or memory runs out; false
// with a result holding an empty object and no hash when the path is
// neither a directory nor a file.
bool GetHmdFileInfo(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                    const std::string& path);
