// A log script: the driver's event records a test wants delivered, as the
// file named by the knob "LogScript" holds them. Entries follow each other
// with nothing between, integers little-endian:
//   u16 kind, u16 flags, u32 result, u32 extraLength, u32 dataBytes,
//   u32 count, u32 rate, then 192 record bytes, extraLength extra bytes and
//   dataBytes data bytes.
// The agent's end-to-end tests write the same format from Python.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zentsim::mli {

constexpr size_t kScriptHeaderSize = 24;
constexpr size_t kRecordSize = 192;

enum class EntryKind : uint16_t { kRecord = 0, kFailingCall = 1, kGenerator = 2 };

// The call hands back a null extra pointer, with the length still set.
constexpr uint16_t kFlagNullExtra = 1;
// Bytes 184-191 of the record stay as the script gives them.
constexpr uint16_t kFlagRecordPointer = 2;

struct ScriptEntry {
  EntryKind kind = EntryKind::kRecord;
  uint16_t flags = 0;
  uint32_t result = 0;
  uint32_t count = 0;
  uint32_t rate = 0;  // copies per second; 0: one each time the reader asks
  std::string record;  // 192 bytes
  std::string extra;
  std::string data;
};

// The entries of a script file, or why it is refused ("entry 3: truncated");
// the text is empty when the script is good.
std::string ParseLogScript(const std::string& bytes, std::vector<ScriptEntry>& entries);

// How many times an entry is delivered: a record or failing call counts 0
// as 1, a generator makes exactly `count` copies.
uint32_t Copies(const ScriptEntry& entry);

}  // namespace zentsim::mli
