#include <winsock2.h>
#include <ws2tcpip.h>

#include "server/https_post_win.h"

#include <algorithm>

#include "log/debug_log.h"

namespace {

// The reply's buffer grows by this much whenever it is full.
constexpr size_t kResponseGrowth = 1024;
// How stale the socket's time-out may get before it is set again to what is
// left: a pending call ends at most this long after the deadline, and a fast
// exchange makes few extra calls.
constexpr ULONGLONG kRearmEveryMs = 100;

// The exchange's deadline, counted from the connect, carried into the
// socket's send and receive time-outs.
struct ExchangeDeadline {
  ULONGLONG end;
  ULONGLONG armedAt[2] = {0, 0};  // send, receive

  // False when the time is up. A time-out of 0 would mean none at all.
  bool Arm(SOCKET s, int option) {
    ULONGLONG now = GetTickCount64();
    if (now >= end) return false;
    ULONGLONG& armed = armedAt[option == SO_SNDTIMEO ? 0 : 1];
    if (armed != 0 && now - armed < kRearmEveryMs) return true;
    DWORD left = static_cast<DWORD>(end - now);
    setsockopt(s, SOL_SOCKET, option, reinterpret_cast<const char*>(&left), sizeof left);
    armed = now;
    return true;
  }
};

// Sends from where the last send stopped; false after a logged failure.
bool SendRequest(SOCKET s, const std::string& request, ExchangeDeadline& deadline) {
  size_t sent = 0;
  while (sent < request.size()) {
    int count = deadline.Arm(s, SO_SNDTIMEO)
                    ? send(s, request.data() + sent,
                           static_cast<int>(std::min<size_t>(request.size() - sent, INT_MAX)), 0)
                    : (WSASetLastError(WSAETIMEDOUT), SOCKET_ERROR);
    if (count == SOCKET_ERROR) {
      ZENT_LOG_AS("httpsPost", 1, L"send failed with error: %d\n", WSAGetLastError());
      return false;
    }
    if (count == 0) break;
    sent += static_cast<size_t>(count);
  }
  ZENT_LOG_AS("httpsPost", 1, L"Total bytes Sent: %d\n", static_cast<int>(sent));
  return true;
}

// Reads until the peer closes, an error, or the limit; keeps what came.
void ReceiveResponse(SOCKET s, std::string& response, ExchangeDeadline& deadline) {
  size_t received = 0;
  response.assign(kResponseGrowth, '\0');
  while (true) {
    if (received == kHttpResponseLimit) {
      ZENT_LOG_AS("httpsPost", 1, L"recv failed with error: %d\n", WSAEMSGSIZE);
      break;
    }
    if (received == response.size()) response.resize(response.size() + kResponseGrowth);
    size_t room = std::min(response.size(), kHttpResponseLimit) - received;
    int count = deadline.Arm(s, SO_RCVTIMEO) ? recv(s, response.data() + received, static_cast<int>(room), 0)
                                             : (WSASetLastError(WSAETIMEDOUT), SOCKET_ERROR);
    if (count == 0) {
      ZENT_LOG_AS("httpsPost", 4, L"Connection closed\n");
      break;
    }
    if (count < 0) {
      ZENT_LOG_AS("httpsPost", 1, L"recv failed with error: %d\n", WSAGetLastError());
      break;
    }
    received += static_cast<size_t>(count);
  }
  response.resize(received);
}

}  // namespace

bool httpsPost(const std::string& target, uint16_t port, const std::string& request, std::string& response) {
  return httpsPostWithin(target, port, request, response, kHttpExchangeTimeoutMs);
}

bool httpsPostWithin(const std::string& target, uint16_t port, const std::string& request, std::string& response,
                     uint32_t timeoutMs) {
  SOCKET s = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  if (s == INVALID_SOCKET) {
    ZENT_LOG_AS("httpsPost", 1, L"socket failed with error: %d\n", WSAGetLastError());
    return false;
  }
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  // No name resolution: a host name gives no address and fails the connect.
  address.sin_addr.s_addr = inet_addr(target.c_str());
  if (connect(s, reinterpret_cast<const sockaddr*>(&address), sizeof address) == SOCKET_ERROR) {
    ZENT_LOG_AS("httpsPost", 1, L"connect failed with error: %d\n", WSAGetLastError());
    closesocket(s);
    return false;
  }
  ExchangeDeadline deadline{GetTickCount64() + timeoutMs};
  ZENT_LOG_AS("httpsPost", 4, L"Request(length=%d):\n%S\n", static_cast<int>(request.size()), request);
  if (!SendRequest(s, request, deadline)) {
    closesocket(s);
    return false;
  }
  // The server sees the end of the request; the reply ends when it closes.
  if (shutdown(s, SD_SEND) == SOCKET_ERROR) {
    ZENT_LOG_AS("httpsPost", 1, L"shutdown failed with error: %d\n", WSAGetLastError());
    closesocket(s);
    return false;
  }
  ReceiveResponse(s, response, deadline);
  ZENT_LOG_AS("httpsPost", 1, L"Total bytes Received: %d\n", static_cast<int>(response.size()));
  ZENT_LOG_AS("httpsPost", 4, L"Response(length=%d):\n%S\n", static_cast<int>(response.size()), response);
  if (closesocket(s) == SOCKET_ERROR) {
    ZENT_LOG_AS("httpsPost", 1, L"close failed with error: %d\n", WSAGetLastError());
    return false;
  }
  return true;
}
