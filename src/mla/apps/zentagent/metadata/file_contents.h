// GetHmdFileContents: the "getFileContents" query family. A text file's
// lines that a regular expression finds something in, as one "fileContents"
// object. What it decides lives here and builds natively; the file system
// is reached through a table of calls, which the Windows half
// (get_hmd_file_contents_win.cpp) fills with its own.
#pragma once

#include <tinyxml2.h>

#include <cstdint>
#include <string>
#include <vector>

class utilRegExImpl;

// What the query asks of the file system.
struct FileContentsCalls {
  // The path names an existing file, not a directory; may ask twice.
  bool (*isFile)(const std::string& path);
  // The file's size, -1 when it is unknown.
  int64_t (*fileSize)(const std::string& path);
  // The file's lines without their line ends; false when it cannot be read
  // or is empty.
  bool (*readLines)(const std::string& path, std::vector<std::string>& lines);
};

// arg3 as the C runtime reads an unsigned 64-bit number in base 0 ("0x10" is
// 16, "010" is 8, "-1" the largest, text after the number ignored); an empty
// arg3 is the default limit of 1,000,000 bytes.
uint64_t FileContentsSizeLimit(const std::string& sizeLimit);

// Whether a file of this size is read: not -1, and not above the limit.
bool FileContentsSizeAllowed(int64_t size, uint64_t limit);

// Each line the expression finds something in, whole, followed by CR LF, in
// the file's order.
std::string MatchedLines(const std::vector<std::string>& lines, const utilRegExImpl& regex);

// Adds one result with commandVersion "1" and one "fileContents" object whose
// identifier is the path: matchedStrings, then searchString, both also when
// empty. False with no result for an empty path, a file that is missing or
// a directory, of unknown size or above the limit, empty or unreadable, a
// pattern that does not compile, or memory that cannot be had. An empty
// searchString finds every line.
bool GetHmdFileContents(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                        const std::string& path, const std::string& searchString, const std::string& sizeLimit,
                        const FileContentsCalls& calls);
// The same through the system's calls (Windows build).
bool GetHmdFileContents(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* results, const std::string& id,
                        const std::string& path, const std::string& searchString, const std::string& sizeLimit);
