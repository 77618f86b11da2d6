#include "metadata/process_reads.h"

#include <algorithm>
#include <vector>

namespace {

// The layout of the 64-bit process structures read from the other process.
constexpr uint32_t kBasicInformationSize = 48;
constexpr uint32_t kPebBaseAddressOffset = 8;
constexpr uint32_t kPebSize = 712;
constexpr uint32_t kProcessParametersOffset = 32;
constexpr uint32_t kParametersSize = 128;
constexpr uint32_t kCommandLineLengthOffset = 112;
constexpr uint32_t kCommandLineBufferOffset = 120;
// The command line is read no further than this: 1,024 units.
constexpr uint32_t kCommandLineLimit = 2048;
// The smaller reads tried, in turn, when a read stops at a page the process
// has not mapped.
constexpr uint32_t kPartialReadRetries[] = {520, 260};
constexpr uint32_t kErrorPartialCopy = 299;

uint64_t ReadLittleEndian(const unsigned char* bytes, int count) {
  uint64_t value = 0;
  for (int i = count - 1; i >= 0; --i) value = (value << 8) | bytes[i];
  return value;
}

bool StartsWith(const std::u16string& text, const char16_t* prefix) {
  return text.compare(0, std::char_traits<char16_t>::length(prefix), prefix) == 0;
}

// The command line's bytes: as long as its Length says, up to the limit; on
// a partial copy 520 bytes, then 260, whatever its Length.
bool ReadCommandLineBytes(const RunningProcessCalls& calls, InspectedHandle process, uint64_t address,
                          uint32_t length, std::vector<unsigned char>& bytes) {
  bytes.assign(std::min(length, kCommandLineLimit), 0);
  uint32_t error = calls.readMemory(process, address, static_cast<uint32_t>(bytes.size()), bytes.data());
  for (uint32_t size : kPartialReadRetries) {
    if (error != kErrorPartialCopy) break;
    bytes.assign(size, 0);
    error = calls.readMemory(process, address, size, bytes.data());
  }
  return error == 0;
}

}  // namespace

std::u16string ResolveImageName(const RunningProcessCalls& calls, const std::u16string& name) {
  if (StartsWith(name, u"\\??\\") || StartsWith(name, u"\\\\?\\")) return name.substr(4);
  if (StartsWith(name, u"\\SystemRoot\\")) {
    if (std::optional<std::u16string> root = calls.environmentVariable(u"SystemRoot")) {
      return *root + name.substr(11);
    }
  }
  return name;
}

bool ReadProcessImagePath(const RunningProcessCalls& calls, InspectedHandle process, std::u16string& path) {
  std::u16string name;
  if (!calls.moduleFileName(process, name)) return false;
  name = ResolveImageName(calls, name);
  std::u16string longPath;
  path = calls.longPathName(name, longPath) ? longPath : name;
  return true;
}

bool ReadProcessCommandLine(const RunningProcessCalls& calls, InspectedHandle process, std::u16string& commandLine) {
  if (!calls.queryBasicInformation) return false;
  unsigned char basic[kBasicInformationSize] = {};
  if (calls.queryBasicInformation(process, basic, kBasicInformationSize) < 0) return false;
  uint64_t peb = ReadLittleEndian(basic + kPebBaseAddressOffset, 8);

  std::vector<unsigned char> block(kPebSize);
  if (calls.readMemory(process, peb, kPebSize, block.data()) != 0) return false;
  uint64_t parameters = ReadLittleEndian(block.data() + kProcessParametersOffset, 8);
  block.assign(kParametersSize, 0);
  if (calls.readMemory(process, parameters, kParametersSize, block.data()) != 0) return false;
  auto length = static_cast<uint32_t>(ReadLittleEndian(block.data() + kCommandLineLengthOffset, 2));
  uint64_t buffer = ReadLittleEndian(block.data() + kCommandLineBufferOffset, 8);

  std::vector<unsigned char> bytes;
  if (!ReadCommandLineBytes(calls, process, buffer, length, bytes)) return false;
  commandLine.clear();
  for (size_t at = 0; at + 1 < bytes.size(); at += 2) {
    auto unit = static_cast<char16_t>(bytes[at] | (bytes[at + 1] << 8));
    // The document keeps C strings: the text ends at its first zero.
    if (unit == 0) break;
    commandLine += unit;
  }
  return true;
}
