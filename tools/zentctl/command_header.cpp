#include "command_header.h"

namespace zentctl {

namespace {

void PutU16(std::string& out, uint16_t value) {
  out += static_cast<char>(value & 0xFF);
  out += static_cast<char>(value >> 8);
}

void PutU32(std::string& out, uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>((value >> shift) & 0xFF);
}

uint16_t GetU16(std::string_view bytes, size_t at) {
  return static_cast<uint16_t>(static_cast<uint8_t>(bytes[at]) | static_cast<uint8_t>(bytes[at + 1]) << 8);
}

uint32_t GetU32(std::string_view bytes, size_t at) {
  return static_cast<uint32_t>(GetU16(bytes, at)) | static_cast<uint32_t>(GetU16(bytes, at + 2)) << 16;
}

}  // namespace

std::string EncodeCommandHeader(const CommandHeader& header) {
  std::string out(header.Magic.begin(), header.Magic.end());
  PutU32(out, header.Command);
  PutU32(out, header.RequestId);
  PutU32(out, header.Result);
  PutU32(out, header.DataLength);
  const SystemTime& t = header.Time;
  for (uint16_t field : {t.wYear, t.wMonth, t.wDayOfWeek, t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds})
    PutU16(out, field);
  return out;
}

std::optional<CommandHeader> DecodeCommandHeader(std::string_view bytes) {
  if (bytes.size() != kHeaderSize) return std::nullopt;
  CommandHeader header;
  for (size_t i = 0; i < header.Magic.size(); ++i) header.Magic[i] = bytes[i];
  header.Command = GetU32(bytes, 4);
  header.RequestId = GetU32(bytes, 8);
  header.Result = GetU32(bytes, 12);
  header.DataLength = GetU32(bytes, 16);
  SystemTime& t = header.Time;
  uint16_t* fields[] = {&t.wYear, &t.wMonth,  &t.wDayOfWeek, &t.wDay,
                        &t.wHour, &t.wMinute, &t.wSecond,    &t.wMilliseconds};
  size_t at = 20;
  for (uint16_t* field : fields) {
    *field = GetU16(bytes, at);
    at += 2;
  }
  return header;
}

std::string BuildRequest(uint32_t command, uint32_t requestId, std::string_view data, const SystemTime& now) {
  CommandHeader header;
  header.Command = command;
  header.RequestId = requestId;
  header.DataLength = static_cast<uint32_t>(data.size());
  header.Time = now;
  std::string message = EncodeCommandHeader(header);
  message.append(data);
  return message;
}

}  // namespace zentctl
