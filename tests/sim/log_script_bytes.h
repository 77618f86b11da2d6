// Log scripts for mli.dll's stand-in, written from the format: entries back
// to back, integers little-endian; a 24-byte header (u16 kind, u16 flags,
// u32 result, u32 extraLength, u32 dataBytes, u32 count, u32 rate), then the
// 192 record bytes, the extra bytes and the data bytes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zentsim::testing {

constexpr uint16_t kRecordEntry = 0, kFailingCallEntry = 1, kGeneratorEntry = 2;
constexpr uint16_t kNullExtraFlag = 1, kRecordPointerFlag = 2;

struct LogScriptEntry {
  uint16_t kind = kRecordEntry;
  uint16_t flags = 0;
  uint32_t result = 0;
  uint32_t count = 0;
  uint32_t rate = 0;
  std::string record = std::string(192, '\0');
  std::string extra;
  std::string data;
};

inline void PutLe(std::string& bytes, size_t offset, uint64_t value, size_t size) {
  for (size_t i = 0; i < size; ++i) bytes[offset + i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

inline std::string LogScriptBytes(const std::vector<LogScriptEntry>& entries) {
  std::string script;
  for (const LogScriptEntry& entry : entries) {
    std::string header(24, '\0');
    PutLe(header, 0, entry.kind, 2);
    PutLe(header, 2, entry.flags, 2);
    PutLe(header, 4, entry.result, 4);
    PutLe(header, 8, entry.extra.size(), 4);
    PutLe(header, 12, entry.data.size(), 4);
    PutLe(header, 16, entry.count, 4);
    PutLe(header, 20, entry.rate, 4);
    script += header + entry.record + entry.extra + entry.data;
  }
  return script;
}

// A 192-byte record whose every byte differs from its neighbours', so that a
// byte out of place shows: byte i is seed + 7 * i, then the given logId
// (i32 at 24) and dataLength (u16 at 58).
inline std::string PatternRecord(uint8_t seed, int32_t logId, uint16_t dataLength) {
  std::string record(192, '\0');
  for (size_t i = 0; i < record.size(); ++i) record[i] = static_cast<char>(seed + 7 * i);
  PutLe(record, 24, static_cast<uint32_t>(logId), 4);
  PutLe(record, 58, dataLength, 2);
  return record;
}

}  // namespace zentsim::testing
