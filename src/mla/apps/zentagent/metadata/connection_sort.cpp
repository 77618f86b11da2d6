#include <algorithm>
#include <cstring>
#include <tuple>

#include "metadata/connection.h"

namespace {

// The 12 or 36 leading bytes of the record: both addresses as stored, then
// each port as a little-endian 16-bit field stores it.
template <size_t AddressBytes>
int CompareRecordKey(const uint8_t (&localA)[AddressBytes], const uint8_t (&remoteA)[AddressBytes],
                     uint16_t localPortA, uint16_t remotePortA, const uint8_t (&localB)[AddressBytes],
                     const uint8_t (&remoteB)[AddressBytes], uint16_t localPortB, uint16_t remotePortB) {
  if (int c = std::memcmp(localA, localB, AddressBytes); c != 0) return c;
  if (int c = std::memcmp(remoteA, remoteB, AddressBytes); c != 0) return c;
  const uint8_t portsA[4] = {static_cast<uint8_t>(localPortA), static_cast<uint8_t>(localPortA >> 8),
                             static_cast<uint8_t>(remotePortA), static_cast<uint8_t>(remotePortA >> 8)};
  const uint8_t portsB[4] = {static_cast<uint8_t>(localPortB), static_cast<uint8_t>(localPortB >> 8),
                             static_cast<uint8_t>(remotePortB), static_cast<uint8_t>(remotePortB >> 8)};
  return std::memcmp(portsA, portsB, sizeof portsA);
}

bool InfoLess(const ConnectionInfo& a, const ConnectionInfo& b) {
  return std::tie(a.created, a.processId, a.path, a.process) < std::tie(b.created, b.processId, b.path, b.process);
}

template <class Connection>
bool Less(const Connection& a, const Connection& b) {
  int c = CompareRecordKey(a.localAddress, a.remoteAddress, a.localPort, a.remotePort, b.localAddress,
                           b.remoteAddress, b.localPort, b.remotePort);
  return c != 0 ? c < 0 : InfoLess(a.info, b.info);
}

}  // namespace

bool ConnectionLess(const Connection4& a, const Connection4& b) { return Less(a, b); }
bool ConnectionLess(const Connection6& a, const Connection6& b) { return Less(a, b); }

void SortConnections(std::vector<Connection4>& connections) {
  std::stable_sort(connections.begin(), connections.end(),
                   [](const Connection4& a, const Connection4& b) { return Less(a, b); });
}

void SortConnections(std::vector<Connection6>& connections) {
  std::stable_sort(connections.begin(), connections.end(),
                   [](const Connection6& a, const Connection6& b) { return Less(a, b); });
}
