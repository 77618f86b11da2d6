// The 36-byte header that starts every message on the agent's pipe, in both
// directions, and the request zentctl builds from it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zentctl {

inline constexpr size_t kHeaderSize = 36;
inline constexpr std::array<char, 4> kMagic = {'Q', 'T', 'N', 'Z'};

// Windows' SYSTEMTIME, field for field: eight 16-bit values.
struct SystemTime {
  uint16_t wYear = 0;
  uint16_t wMonth = 0;
  uint16_t wDayOfWeek = 0;
  uint16_t wDay = 0;
  uint16_t wHour = 0;
  uint16_t wMinute = 0;
  uint16_t wSecond = 0;
  uint16_t wMilliseconds = 0;
};

struct CommandHeader {
  std::array<char, 4> Magic = kMagic;
  uint32_t Command = 0;
  uint32_t RequestId = 0;
  uint32_t Result = 0;
  uint32_t DataLength = 0;
  SystemTime Time;
};

// The header's 36 bytes, little-endian.
std::string EncodeCommandHeader(const CommandHeader& header);

// Reads a header from exactly 36 bytes; any other size is no header.
std::optional<CommandHeader> DecodeCommandHeader(std::string_view bytes);

// A whole request: the header (Result 0, DataLength the data's size, Time the
// sender's UTC clock) followed by the data.
std::string BuildRequest(uint32_t command, uint32_t requestId, std::string_view data, const SystemTime& now);

}  // namespace zentctl
