// The file contents query's regular expressions over any pattern and any
// line: compiling and searching never crash, leak or take more than linear
// time, the group count is the scan's, and a pattern made of one piece of
// text with every special character escaped finds exactly where that text
// occurs.
//
// Input: one byte n, then n bytes of pattern (fewer if the input ends), then
// the line to search.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "records/settings.h"
#include "util/reg_ex_impl.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

// The extended expression that matches the text itself.
std::string Escaped(const std::string& text) {
  std::string pattern;
  for (char c : text) {
    if (c != '\0' && std::strchr(".[]()*+?{}|^$\\", c) != nullptr) pattern += '\\';
    pattern += c;
  }
  return pattern;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // Refusals are logged at level 1; the fuzzer has no log to write to.
  s_Settings.DebugLevel = 0;
  size_t patternLength = std::min<size_t>(data[0], size - 1);
  std::string pattern(reinterpret_cast<const char*>(data) + 1, patternLength);
  std::string line(reinterpret_cast<const char*>(data) + 1 + patternLength, size - 1 - patternLength);

  utilRegExImpl regex;
  if (regex.Compile(pattern)) {
    Check(regex.IsValid());
    Check(regex.GroupCount() == CountRegExGroups(pattern.data(), pattern.size()));
    regex.Matches(line);
  } else {
    Check(!regex.IsValid());
  }

  utilRegExImpl literal;
  Check(literal.Compile(Escaped(pattern)));
  Check(literal.Matches(line) == (line.find(pattern) != std::string::npos));
  return 0;
}
