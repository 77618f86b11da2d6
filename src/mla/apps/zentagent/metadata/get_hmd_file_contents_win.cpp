// The file contents query's calls on the system: the file test, the size and
// the lines, each through the path tools the file queries share.
#include <utility>

#include "metadata/file_contents.h"
#include "util/file_name.h"
#include "util/path_exists.h"
#include "util/text_file.h"

namespace {

bool IsQueriedFile(const std::string& path) {
  if (pathExists(path, kPathIsFile)) return true;
  // A second chance, as the query has always given one: the same test once
  // more, and the file opened for reading with all sharing.
  return pathExists(path, kPathIsFile) && PathOpensForReading(path);
}

int64_t QueriedFileSize(const std::string& path) {
  utilFileName name;
  name.SetFromPath(path);
  return name.GetSize();
}

bool ReadQueriedLines(const std::string& path, std::vector<std::string>& lines) {
  utilTextFile file;
  if (!file.Open(path)) return false;
  lines = std::move(file.lines);
  return true;
}

const FileContentsCalls kSystemCalls = {IsQueriedFile, QueriedFileSize, ReadQueriedLines};

}  // namespace

bool GetHmdFileContents(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                        const std::string& path, const std::string& searchString, const std::string& sizeLimit) {
  return GetHmdFileContents(document, results, id, path, searchString, sizeLimit, kSystemCalls);
}
