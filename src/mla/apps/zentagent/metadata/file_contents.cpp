#include "metadata/file_contents.h"

#include <cstdlib>
#include <new>

#include "log/debug_log.h"
#include "metadata/compute_hash.h"
#include "metadata/result_shell.h"
#include "util/reg_ex_impl.h"

namespace {

constexpr uint64_t kDefaultSizeLimit = 1000000;

}  // namespace

uint64_t FileContentsSizeLimit(const std::string& sizeLimit) {
  if (sizeLimit.empty()) return kDefaultSizeLimit;
  return std::strtoull(sizeLimit.c_str(), nullptr, 0);
}

bool FileContentsSizeAllowed(int64_t size, uint64_t limit) {
  if (size == -1) return false;
  // The size is compared as the unsigned number it is: a limit of "-1" reads
  // as the largest and lets every size through.
  return static_cast<uint64_t>(size) <= limit;
}

std::string MatchedLines(const std::vector<std::string>& lines, const utilRegExImpl& regex) {
  std::string matched;
  for (const std::string& line : lines) {
    if (!regex.Matches(line)) continue;
    // The line is kept whole, whatever part of it matched, and ends in CR LF
    // whichever end it had in the file.
    matched += line;
    matched += "\r\n";
  }
  return matched;
}

bool GetHmdFileContents(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                        const std::string& path, const std::string& searchString, const std::string& sizeLimit,
                        const FileContentsCalls& calls) {
  if (path.empty()) return false;
  uint64_t limit = FileContentsSizeLimit(sizeLimit);
  if (!calls.isFile(path)) return false;
  // The size decides before anything is read: a file above the limit has no
  // result at all rather than a part of one.
  if (!FileContentsSizeAllowed(calls.fileSize(path), limit)) return false;
  tinyxml2::XMLElement* result = nullptr;
  try {
    utilRegExImpl regex;
    if (!regex.Compile(searchString.empty() ? std::string(".*") : searchString)) return false;
    std::vector<std::string> lines;
    if (!calls.readLines(path, lines)) return false;
    std::string matched = MatchedLines(lines, regex);
    HmdResultShell shell = AddResultShell(document, results, "1", id);
    result = shell.result;
    tinyxml2::XMLElement* attributes = AddHostMetaData(document, shell.hostMetaDatas, "fileContents", path);
    // The document keeps C strings: a zero byte in a kept line ends the
    // value there, and the digest covers what the document holds.
    AddAttribute(document, attributes, "matchedStrings", matched);
    AddAttribute(document, attributes, "searchString", searchString);
    ComputeHash(shell.result);
    return true;
  } catch (const std::bad_alloc&) {
    // A file the agent cannot hold ends this query, not the agent.
    if (result != nullptr) results->DeleteChild(result);
    ZENT_LOG(1, L"not enough memory for file(%S)\n", path);
    return false;
  }
}
