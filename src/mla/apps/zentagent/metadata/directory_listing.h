// The "getDirectoryListing" family's portable half: the entries text and
// the result that carries it. The _win half walks the directory.
#pragma once

#include <tinyxml2.h>

#include <string>

// Appends one name and its "|". Names are never escaped: Windows allows no
// "|" in a name.
void AppendListingEntry(std::string& entries, const std::string& name);

// Adds the result, commandVersion "1", with one "directoryListing" object
// for path holding entries (also when empty), and its hash.
void AddDirectoryListingResult(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results,
                               const std::string& id, const std::string& path, const std::string& entries);
