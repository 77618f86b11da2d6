// config.rbf as the rule compiler's and the driver's stand-ins share it. The
// agent passes the file through unread; only these two know its form:
//
//   offset 0   4 bytes   "ZRBF"
//   offset 4   4 bytes   format version, 1
//   offset 8   4 bytes   number of rules
//   offset 12  4 bytes   length of the rules in bytes
//   offset 16  32 bytes  SHA-256 of the rules
//   offset 48  rest      the rules: one line per element of the agent's
//                        document, in document order, each ended by "\n"
//
// Integers are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zentsim {

inline constexpr char kRuleFileMagic[4] = {'Z', 'R', 'B', 'F'};
inline constexpr uint32_t kRuleFileVersion = 1;
inline constexpr size_t kRuleFileHeaderSize = 48;

// The whole file for these rules.
std::string BuildRuleFile(const std::vector<std::string>& rules);

// What a rule file holds once it has been checked.
struct RuleFileContents {
  uint32_t version = 0;
  uint32_t ruleCount = 0;
  std::string rules;
};

// Empty when the bytes are a whole, intact rule file of this version;
// otherwise why not, in words for the driver's error text.
std::string CheckRuleFile(const void* data, size_t length, RuleFileContents& contents);

}  // namespace zentsim
