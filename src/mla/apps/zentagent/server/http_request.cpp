#include "server/http_request.h"

#include <cstdio>

std::string BuildHttpRequest(uint8_t machineId, std::string_view body) {
  char head[160];
  int length = std::snprintf(head, sizeof head,
                             "POST /Zent/isapiClientZent.dll HTTP/1.1\r\nHost: HOSTNAME:8080\r\n"
                             "BRVN-AGENT-GUID: 00000000-0000-0000-0000-0000000000%02d\r\n"
                             "Content-Length: %d\r\n\r\n",
                             static_cast<int>(machineId), static_cast<int>(body.size()));
  std::string request(head, static_cast<size_t>(length));
  request.append(body);
  return request;
}
