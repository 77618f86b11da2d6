// sockholder.exe [--reuse] SOCKET...
//
// Opens the sockets named on its command line and holds them until its
// standard input ends. A socket is KIND:ADDRESS:PORT, KIND one of tcp4, tcp6,
// udp4, udp6; the port after the last colon, 0 for one the system picks; so
// tcp4:127.0.0.1:0 and udp6:::1:5353. TCP sockets listen. --reuse sets
// SO_REUSEADDR on every socket, so that two UDP sockets share one address.
//
// Prints "pid N", then one line "KIND ADDRESS PORT" per socket with its bound
// port, then "held". On failure it prints "error SOCKET N" and exits 1.
//
// Wine names a socket's owner only while the owning process holds the
// socket's own descriptor in use: each TCP socket gets TCP_NODELAY and each
// UDP socket one non-blocking recv, which make Wine take them in.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "held_until_input_ends_win.h"

namespace {

bool Open(const std::string& named, bool reuse, SOCKET& s, std::string& line) {
  size_t kindEnd = named.find(':');
  size_t portStart = named.rfind(':');
  if (kindEnd == std::string::npos || portStart == kindEnd) return false;
  std::string kind = named.substr(0, kindEnd);
  std::string address = named.substr(kindEnd + 1, portStart - kindEnd - 1);
  std::string port = named.substr(portStart + 1);
  bool tcp = kind == "tcp4" || kind == "tcp6";
  bool v6 = kind == "tcp6" || kind == "udp6";
  if (!tcp && kind != "udp4" && kind != "udp6") return false;

  addrinfo hints{};
  hints.ai_family = v6 ? AF_INET6 : AF_INET;
  hints.ai_socktype = tcp ? SOCK_STREAM : SOCK_DGRAM;
  hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
  addrinfo* found = nullptr;
  if (getaddrinfo(address.c_str(), port.c_str(), &hints, &found) != 0) return false;
  s = socket(found->ai_family, found->ai_socktype, found->ai_protocol);
  bool ok = s != INVALID_SOCKET;
  BOOL on = TRUE;
  if (ok && reuse) ok = setsockopt(s, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char*>(&on), sizeof on) == 0;
  if (ok) ok = bind(s, found->ai_addr, static_cast<int>(found->ai_addrlen)) == 0;
  freeaddrinfo(found);
  if (!ok) return false;
  if (tcp) {
    if (listen(s, 5) != 0) return false;
    if (setsockopt(s, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on) != 0) return false;
  } else {
    u_long nonBlocking = 1;
    if (ioctlsocket(s, FIONBIO, &nonBlocking) != 0) return false;
    char byte;
    recv(s, &byte, 1, 0);
  }
  sockaddr_storage bound{};
  int length = sizeof bound;
  if (getsockname(s, reinterpret_cast<sockaddr*>(&bound), &length) != 0) return false;
  char service[32];
  if (getnameinfo(reinterpret_cast<sockaddr*>(&bound), length, nullptr, 0, service, sizeof service,
                  NI_NUMERICSERV) != 0) {
    return false;
  }
  line = kind + " " + address + " " + service;
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  WSADATA wsa;
  if (WSAStartup(MAKEWORD(2, 2), &wsa) != 0) return 1;
  bool reuse = false;
  std::vector<std::string> lines;
  std::vector<SOCKET> sockets;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--reuse") == 0) {
      reuse = true;
      continue;
    }
    SOCKET s = INVALID_SOCKET;
    std::string line;
    if (!Open(argv[i], reuse, s, line)) {
      std::printf("error %s %d\n", argv[i], WSAGetLastError());
      return 1;
    }
    sockets.push_back(s);
    lines.push_back(line);
  }
  std::printf("pid %lu\n", GetCurrentProcessId());
  for (const std::string& line : lines) std::printf("%s\n", line.c_str());
  SayHeldUntilInputEnds();
  for (SOCKET s : sockets) closesocket(s);
  WSACleanup();
  return 0;
}
