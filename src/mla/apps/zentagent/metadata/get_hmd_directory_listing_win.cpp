#include <new>

#include "log/debug_log.h"
#include "metadata/directory_listing.h"
#include "metadata/get_hmd_directory_listing.h"
#include "util/dir_win.h"
#include "util/path_exists.h"

bool GetHmdDirectoryListing(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                            const std::string& path) {
  if (path.empty()) return false;
  // A path the attributes call refuses gets a second chance by being opened,
  // as the file contents query gives it; only a directory is listed.
  if (!pathExists(path, kPathIsDirectory)) {
    if (!PathOpensForReading(path) || !pathExists(path, kPathIsDirectory)) return false;
  }
  // A failed allocation ends this query alone, leaving no result.
  std::string entries;
  try {
    utilDir dir(path);
    std::string name;
    while (dir.GetNext(name)) AppendListingEntry(entries, name);
  } catch (const std::bad_alloc&) {
    ZENT_LOG(1, L"out of memory: file(%S)\n", path);
    return false;
  }
  AddDirectoryListingResult(document, results, id, path, entries);
  return true;
}
