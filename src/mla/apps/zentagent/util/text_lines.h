// The line reader's split of a text file's bytes into lines, with the end
// each line had. The file contents query keeps the lines and drops the ends.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// How a line ended, as utilTextFile records it.
enum TextLineType : int32_t {
  kLineNone = 0,  // the file's last line, without an end
  kLineUnix = 1,  // "\n"
  kLineDos = 2,   // "\r\n"
  kLineMac = 3,   // "\r"
};

// Appends the lines of data to lines, and their types to types. "\r" then
// "\r" adds an empty Mac line and drops what stood before the first "\r"
// ("a\r\rb" gives "" and "b"): the reader has always done so and its callers
// expect it. A closing lone "\r" stays in the last line.
void SplitTextLines(const char* data, size_t size, std::vector<std::string>& lines,
                    std::vector<int32_t>& types);
