// utilTextFile: a text file read whole into lines, for the file contents
// query. Bytes are kept as they are; no encoding is decoded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

class utilTextFile {
 public:
  std::string fileName;
  bool opened = false;
  std::vector<std::string> lines;     // without their line ends
  std::vector<int32_t> lineTypes;     // TextLineType, one per line

  // True when the file's lines are in memory. An empty file does not open,
  // nor does one whose size is unknown or 4 GiB or more, nor one whose
  // buffer cannot be had.
  bool Open(const std::string& name);
};
