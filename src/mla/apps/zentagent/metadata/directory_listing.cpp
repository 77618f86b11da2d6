#include "metadata/directory_listing.h"

#include "metadata/compute_hash.h"
#include "metadata/result_shell.h"

void AppendListingEntry(std::string& entries, const std::string& name) {
  entries += name;
  entries += '|';
}

void AddDirectoryListingResult(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results,
                               const std::string& id, const std::string& path, const std::string& entries) {
  HmdResultShell shell = AddResultShell(document, results, "1", id);
  tinyxml2::XMLElement* attributes = AddHostMetaData(document, shell.hostMetaDatas, "directoryListing", path);
  AddAttribute(document, attributes, "entries", entries);
  ComputeHash(shell.result);
}
