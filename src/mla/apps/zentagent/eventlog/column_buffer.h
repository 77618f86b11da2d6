// The fixed buffer that columns 1 to 24 of a record's text are built in.
// Every appender stops at the buffer's end: what does not fit is cut, and
// the columns after it are lost, while the payload and the data (columns 25
// and 26, appended to the output string) always go in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

constexpr size_t kColumnBufferSize = 1024;
// The digits of "%02X" and of AppendHex.
inline constexpr char kUpperHexDigits[] = "0123456789ABCDEF";

struct ColumnBuffer {
  char text[kColumnBufferSize];
  size_t length = 0;
};

inline void AppendText(ColumnBuffer& buffer, const char* text, size_t count) {
  size_t room = kColumnBufferSize - buffer.length;
  if (count > room) count = room;
  std::memcpy(buffer.text + buffer.length, text, count);
  buffer.length += count;
}

// A string literal, its length known at compile time.
template <size_t N>
inline void AppendLiteral(ColumnBuffer& buffer, const char (&text)[N]) {
  AppendText(buffer, text, N - 1);
}

inline void AppendSeparator(ColumnBuffer& buffer) { AppendLiteral(buffer, ", "); }

// "%u".
inline void AppendUnsigned(ColumnBuffer& buffer, uint32_t value) {
  char digits[10];
  size_t start = sizeof digits;
  do {
    digits[--start] = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
  AppendText(buffer, digits + start, sizeof digits - start);
}

// "%d".
inline void AppendSigned(ColumnBuffer& buffer, int32_t value) {
  uint32_t magnitude = static_cast<uint32_t>(value);
  if (value < 0) {
    AppendLiteral(buffer, "-");
    magnitude = 0u - magnitude;
  }
  AppendUnsigned(buffer, magnitude);
}

// "%x" (lower case, no leading zeros); the address words and the frame type
// print this way.
inline void AppendLowerHex(ColumnBuffer& buffer, uint32_t value) {
  char digits[8];
  size_t start = sizeof digits;
  do {
    digits[--start] = "0123456789abcdef"[value & 0xF];
    value >>= 4;
  } while (value != 0);
  AppendText(buffer, digits + start, sizeof digits - start);
}

// "%02X" of each byte, with the separator between bytes.
inline void AppendHexBytes(ColumnBuffer& buffer, const uint8_t* bytes, size_t count, bool blankBetween) {
  for (size_t i = 0; i < count; ++i) {
    if (blankBetween && i != 0) AppendLiteral(buffer, " ");
    char pair[2] = {kUpperHexDigits[bytes[i] >> 4], kUpperHexDigits[bytes[i] & 0xF]};
    AppendText(buffer, pair, 2);
  }
}
