// The "getDirectoryListing" query family: the names in one directory.
#pragma once

#include <tinyxml2.h>

#include <string>

// Adds a result with one "directoryListing" object whose entries are the
// directory's names, each followed by "|", in the order the file system
// lists them. False with no result when path is empty or is no directory
// that can be opened, or when memory runs out.
bool GetHmdDirectoryListing(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                            const std::string& path);
