// One HTTP/1.1 POST over a plain TCP connection, answered and closed by the
// server.
#pragma once

#include <cstdint>
#include <string>

namespace zentsim::hvsock {

struct HttpAnswer {
  bool complete = false;  // a whole response came: status line, headers, body
  int status = 0;         // the status code, 0 when none came
  std::string body;
  std::string problem;    // why not complete
};

// host:port of the server; path without its leading "/".
HttpAnswer Post(const std::string& hostPort, const std::string& path, const std::string& body,
                const std::string& description, uint32_t receiveTimeoutMs);

}  // namespace zentsim::hvsock
