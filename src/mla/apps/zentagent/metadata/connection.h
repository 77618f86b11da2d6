// One socket of the listening ports query, as the IP helper tables give it,
// and the order in which the query reports them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What is known of a socket's owner. The table gives no user or group, so
// the record has no room for them: they could never reach the document.
struct ConnectionInfo {
  int64_t created = 0;    // the row's creation time (a FILETIME count), 0 if unknown
  std::string path;       // module path of the owner, low byte of each unit
  std::string process;    // module name of the owner, low byte of each unit
  int64_t processId = 0;  // 0 if unknown
};

// Addresses are kept in the bytes the table stores them in (network order);
// ports are in host order, as ntohs gives them.
struct Connection4 {
  uint8_t localAddress[4] = {};
  uint8_t remoteAddress[4] = {};
  uint16_t localPort = 0;
  uint16_t remotePort = 0;
  ConnectionInfo info;
};

struct Connection6 {
  uint8_t localAddress[16] = {};
  uint8_t remoteAddress[16] = {};
  uint16_t localPort = 0;
  uint16_t remotePort = 0;
  ConnectionInfo info;
};

// The report's order: the record's leading bytes as memory holds them (local
// address, remote address, then the two ports low byte first, as the
// little-endian record stores them, so port 0x1234 comes before 0x0035),
// then created, processId, path and process. Equal rows stay, each once.
bool ConnectionLess(const Connection4& a, const Connection4& b);
bool ConnectionLess(const Connection6& a, const Connection6& b);
void SortConnections(std::vector<Connection4>& connections);
void SortConnections(std::vector<Connection6>& connections);
