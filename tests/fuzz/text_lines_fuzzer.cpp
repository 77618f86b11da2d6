// The line reader's split over any bytes, against a model written apart
// from it: a reader that remembers a pending "\r" and whether an empty Mac
// line took it.
//
// Input: a text file's bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "util/text_lines.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

struct Model {
  std::vector<std::string> lines;
  std::vector<int32_t> types;
  void Emit(const std::string& line, int32_t type) {
    lines.push_back(line);
    types.push_back(type);
  }
};

Model SplitByModel(const uint8_t* data, size_t size) {
  Model model;
  std::string current;
  bool pendingReturn = false;  // the byte before was "\r"
  bool returnTaken = false;    // and an empty Mac line took it
  for (size_t i = 0; i < size; ++i) {
    char byte = static_cast<char>(data[i]);
    if (pendingReturn) {
      if (byte == '\n') {
        model.Emit(returnTaken ? std::string() : current, kLineDos);
        current.clear();
        pendingReturn = returnTaken = false;
      } else if (byte == '\r') {
        model.Emit(std::string(), kLineMac);
        current.clear();
        returnTaken = true;
      } else {
        if (!returnTaken) model.Emit(current, kLineMac);
        current.assign(1, byte);
        pendingReturn = returnTaken = false;
      }
    } else if (byte == '\n') {
      model.Emit(current, kLineUnix);
      current.clear();
    } else if (byte == '\r') {
      pendingReturn = true;
    } else {
      current += byte;
    }
  }
  if (pendingReturn && !returnTaken) current += '\r';
  if (!current.empty()) model.Emit(current, kLineNone);
  return model;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> lines;
  std::vector<int32_t> types;
  SplitTextLines(reinterpret_cast<const char*>(data), size, lines, types);
  Model model = SplitByModel(data, size);
  Check(lines == model.lines);
  Check(types == model.types);
  // Only a last line of type none may hold a line end, a closing "\r".
  for (size_t i = 0; i < lines.size(); ++i) {
    Check(lines[i].find('\n') == std::string::npos);
    size_t ret = lines[i].find('\r');
    Check(ret == std::string::npos || (i + 1 == lines.size() && types[i] == kLineNone && ret + 1 == lines[i].size()));
  }
  return 0;
}
