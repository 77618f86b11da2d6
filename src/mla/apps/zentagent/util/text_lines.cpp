#include "util/text_lines.h"

void SplitTextLines(const char* data, size_t size, std::vector<std::string>& lines,
                    std::vector<int32_t>& types) {
  size_t start = 0;
  char previous = 0;
  for (size_t i = 0; i < size; ++i) {
    char byte = data[i];
    if (byte == '\n') {
      // A DOS line ends before its "\r"; after an empty Mac line the start
      // already stands behind that "\r", and the DOS line is empty.
      size_t end = previous == '\r' ? i - 1 : i;
      lines.emplace_back(data + start, end > start ? end - start : 0);
      types.push_back(previous == '\r' ? kLineDos : kLineUnix);
      start = i + 1;
    } else if (previous == '\r') {
      if (byte == '\r') {
        lines.emplace_back();
        types.push_back(kLineMac);
        start = i + 1;
      } else if (start < i) {
        // A "\r" that an empty Mac line took ends no second line.
        lines.emplace_back(data + start, i - 1 - start);
        types.push_back(kLineMac);
        start = i;
      }
    }
    previous = byte;
  }
  if (start < size) {
    lines.emplace_back(data + start, size - start);
    types.push_back(kLineNone);
  }
}
