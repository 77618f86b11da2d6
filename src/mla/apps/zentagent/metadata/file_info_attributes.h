// The "getFileInfo" family's portable half: what the runtime's _stat, the
// short name, the shell link and the version resource told about one path,
// made into the fileInfo object's attributes in the order the server reads
// them. The _win half gathers the record.
#pragma once

#include <tinyxml2.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "util/file_name.h"

// The fields of _stat that the object shows: the narrow form, with 64-bit
// times in seconds and a signed 32-bit size.
struct FileStatFields {
  uint32_t mode = 0;
  int64_t accessTime = 0;
  int64_t modifyTime = 0;
  int64_t changeTime = 0;
  int32_t size = 0;
};

struct FileInfoRecord {
  FileStatFields first;         // the times come from the first _stat
  bool secondStat = false;      // size and mode, from the second _stat
  FileStatFields second;
  std::string shortForm;        // the 8.3 form, or the full path when the system gave none
  bool hasLinkTarget = false;
  std::string linkTarget;
  bool hasFixedVersion = false;
  uint16_t fileVersion[4] = {};     // high and low word of the MS, then of the LS double word
  uint16_t productVersion[4] = {};
  // The string table's attributes that have text, in the table's order:
  // name and "%04x:%.64s;" groups.
  std::vector<std::pair<std::string, std::string>> versionStrings;
};

// One row of VersionAttributeTable: the sub-block path's format (language
// and code page as two "%04x") and the attribute's name.
struct VersionAttributeRow {
  const char* subBlockFormat;
  const char* attributeName;
};
inline constexpr int kVersionAttributeRows = 10;
extern const VersionAttributeRow VersionAttributeTable[kVersionAttributeRows];

// "directory" when mode has 0x4000, else "file" when it has 0x8000, else
// null: such a path has no object's attributes.
const char* FileInfoKind(uint32_t mode);

// The path as utilFileName holds it: a directory whole, a file split.
utilFileName FileInfoName(const std::string& path, bool directory);

// The sub-block path of a row for one translation.
std::string VersionSubBlock(int row, uint16_t language, uint16_t codePage);

// Appends one translation's group to a row's text: the language in four
// lower-case hex digits, ":", at most 64 bytes of the value, ";".
void AppendVersionGroup(std::string& text, uint16_t language, const std::string& value);

// Adds the attributes after "type": the times unless the path's directory
// part is a lone backslash, size and mode after a second _stat, shortName
// when the short form differs from the path ignoring case, linkTo, the
// version numbers and the string table's attributes.
void AddFileInfoAttributes(tinyxml2::XMLDocument& document, tinyxml2::XMLElement* attributes,
                           const std::string& path, bool directory, const FileInfoRecord& record);
