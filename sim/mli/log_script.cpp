#include "log_script.h"

namespace zentsim::mli {

namespace {

template <class T>
T Read(const std::string& bytes, size_t offset) {
  T value = 0;
  for (size_t i = 0; i < sizeof(T); ++i) {
    value = static_cast<T>(value | static_cast<T>(static_cast<unsigned char>(bytes[offset + i])) << (8 * i));
  }
  return value;
}

std::string Problem(size_t number, const std::string& text) {
  return "entry " + std::to_string(number) + ": " + text;
}

}  // namespace

std::string ParseLogScript(const std::string& bytes, std::vector<ScriptEntry>& entries) {
  entries.clear();
  if (bytes.empty()) return "no entries";
  size_t at = 0;
  for (size_t number = 1; at < bytes.size(); ++number) {
    if (bytes.size() - at < kScriptHeaderSize + kRecordSize) return Problem(number, "truncated");
    ScriptEntry entry;
    uint16_t kind = Read<uint16_t>(bytes, at);
    entry.flags = Read<uint16_t>(bytes, at + 2);
    entry.result = Read<uint32_t>(bytes, at + 4);
    uint64_t extraLength = Read<uint32_t>(bytes, at + 8);
    uint64_t dataBytes = Read<uint32_t>(bytes, at + 12);
    entry.count = Read<uint32_t>(bytes, at + 16);
    entry.rate = Read<uint32_t>(bytes, at + 20);
    if (kind > static_cast<uint16_t>(EntryKind::kGenerator)) {
      return Problem(number, "unknown kind " + std::to_string(kind));
    }
    if (entry.flags & ~(kFlagNullExtra | kFlagRecordPointer)) {
      return Problem(number, "unknown flags " + std::to_string(entry.flags));
    }
    entry.kind = static_cast<EntryKind>(kind);
    at += kScriptHeaderSize;
    if (bytes.size() - at < kRecordSize + extraLength + dataBytes) return Problem(number, "truncated");
    entry.record = bytes.substr(at, kRecordSize);
    entry.extra = bytes.substr(at + kRecordSize, extraLength);
    entry.data = bytes.substr(at + kRecordSize + extraLength, dataBytes);
    at += kRecordSize + extraLength + dataBytes;
    entries.push_back(std::move(entry));
  }
  return {};
}

uint32_t Copies(const ScriptEntry& entry) {
  if (entry.kind == EntryKind::kGenerator) return entry.count;
  return entry.count == 0 ? 1 : entry.count;
}

}  // namespace zentsim::mli
