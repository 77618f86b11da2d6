// httpsPost: one exchange of the direct HTTP path. Despite the name there is
// no TLS: plain HTTP over a clear TCP connection to a dotted IPv4 address.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// A silent peer would block the dispatcher for ever: 30 s after the connect
// a pending send or recv ends with WSAETIMEDOUT.
inline constexpr uint32_t kHttpExchangeTimeoutMs = 30000;
// An endless peer would exhaust memory: the reply is cut at 64 MiB.
inline constexpr size_t kHttpResponseLimit = size_t{64} << 20;

// Sends the request, shuts the send side down, and reads until the peer
// closes. A failed recv keeps what came and still ends in good order; the
// response holds the bytes received. False when the socket, the connect, a
// send, the shutdown or the close failed.
bool httpsPost(const std::string& target, uint16_t port, const std::string& request, std::string& response);

// The same with another time-out, for the exchange's own tests.
bool httpsPostWithin(const std::string& target, uint16_t port, const std::string& request, std::string& response,
                     uint32_t timeoutMs);
