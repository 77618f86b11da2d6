// The 36-byte header at the start of every request and reply on the
// agent's pipe, little-endian.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

constexpr char kCommandMagic[4] = {'Q', 'T', 'N', 'Z'};
constexpr size_t kCommandHeaderSize = 36;

struct CommandHeader {
  char Magic[4];
  uint32_t Command;    // request: the command; reply: 0
  uint32_t RequestId;  // the client's; copied into the reply unread
  uint32_t Result;     // reply: 0 success
  uint32_t DataLength; // bytes after the header
  uint16_t Time[8];    // a SYSTEMTIME in UTC, set just before a reply goes
};
static_assert(sizeof(CommandHeader) == kCommandHeaderSize, "the header is 36 bytes on the wire");

inline CommandHeader HeaderFromBytes(std::string_view bytes) {
  CommandHeader header;
  std::memcpy(&header, bytes.data(), kCommandHeaderSize);
  return header;
}

inline bool HasCommandMagic(const CommandHeader& header) {
  return std::memcmp(header.Magic, kCommandMagic, 4) == 0;
}

// A zeroed header with the magic, command 0, the request's id and the
// result: every simple reply.
CommandHeader SimpleReply(const CommandHeader& request, uint32_t result);
