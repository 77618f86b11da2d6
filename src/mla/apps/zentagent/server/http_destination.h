// The destination of a direct HTTP exchange, as a local client names it in
// the data of pipe command 102: "target:port:machineId", for example
// "10.0.0.1:8080:7".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

enum class DestinationParse {
  Parsed,
  NoSeparators,  // fewer than two ":"
  NoTarget,      // the first ":" stands first
  BadNumber,     // a port or id the integer conversion refuses
};

struct HttpDestination {
  DestinationParse outcome = DestinationParse::Parsed;
  std::string target;  // dotted IPv4 address, as text; no name resolution
  // A message without data names no destination: the port then holds the
  // header's size, as it always has, and the connect fails.
  uint16_t port = 36;
  uint8_t machineId = 0;
};

// Port and id are read as the C++ library's stoi reads them: leading blanks,
// a sign and the leading digits ("80x" is 80), then cut to their low 16 and
// 8 bits ("-1" is port 65535, id 300 is 44). Empty, digitless or beyond int
// is BadNumber.
HttpDestination ParseHttpDestination(std::string_view data);
