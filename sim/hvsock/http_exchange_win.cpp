#include "http_exchange.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace zentsim::hvsock {

namespace {

// The description travels in a header, percent-encoded, so that any byte of
// a policy label survives the header's syntax.
std::string HeaderText(const std::string& text) {
  std::string out;
  for (unsigned char c : text) {
    if (c > 0x20 && c < 0x7F && c != '%') {
      out += static_cast<char>(c);
    } else {
      char hex[4];
      std::snprintf(hex, sizeof hex, "%%%02X", c);
      out += hex;
    }
  }
  return out;
}

bool SendAll(SOCKET s, const std::string& data) {
  size_t sent = 0;
  while (sent < data.size()) {
    int chunk = static_cast<int>(std::min<size_t>(data.size() - sent, 1 << 20));
    int n = send(s, data.data() + sent, chunk, 0);
    if (n <= 0) return false;
    sent += static_cast<size_t>(n);
  }
  return true;
}

HttpAnswer Parse(const std::string& raw) {
  HttpAnswer answer;
  size_t headEnd = raw.find("\r\n\r\n");
  if (raw.compare(0, 5, "HTTP/") != 0 || headEnd == std::string::npos) {
    answer.problem = "no HTTP response";
    return answer;
  }
  size_t space = raw.find(' ');
  answer.status = std::atoi(raw.c_str() + space + 1);
  std::string head = raw.substr(0, headEnd);
  std::string body = raw.substr(headEnd + 4);
  for (char& c : head) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  size_t length = head.find("\r\ncontent-length:");
  if (length != std::string::npos) {
    size_t declared = std::strtoull(head.c_str() + length + 17, nullptr, 10);
    if (body.size() < declared) {
      answer.problem = "body shorter than its Content-Length";
      return answer;
    }
    body.resize(declared);
  }
  answer.body = std::move(body);
  answer.complete = true;
  return answer;
}

}  // namespace

HttpAnswer Post(const std::string& hostPort, const std::string& path, const std::string& body,
                const std::string& description, uint32_t receiveTimeoutMs) {
  HttpAnswer answer;
  size_t colon = hostPort.rfind(':');
  if (colon == std::string::npos) {
    answer.problem = "server address is not host:port";
    return answer;
  }
  std::string host = hostPort.substr(0, colon);
  std::string port = hostPort.substr(colon + 1);

  WSADATA wsa;
  if (WSAStartup(MAKEWORD(2, 2), &wsa) != 0) {
    answer.problem = "WSAStartup failed";
    return answer;
  }
  addrinfo hints = {};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  SOCKET s = INVALID_SOCKET;
  if (getaddrinfo(host.c_str(), port.c_str(), &hints, &found) != 0 || found == nullptr) {
    answer.problem = "server address does not resolve";
  } else {
    s = socket(found->ai_family, found->ai_socktype, found->ai_protocol);
    DWORD timeout = receiveTimeoutMs;
    if (s != INVALID_SOCKET) {
      setsockopt(s, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&timeout), sizeof timeout);
    }
    if (s == INVALID_SOCKET || connect(s, found->ai_addr, static_cast<int>(found->ai_addrlen)) != 0) {
      answer.problem = "cannot connect to the server";
    }
  }
  if (found) freeaddrinfo(found);

  if (answer.problem.empty()) {
    std::string request = "POST /" + path + " HTTP/1.1\r\nHost: " + hostPort +
                          "\r\nContent-Type: application/json\r\nContent-Length: " +
                          std::to_string(body.size()) + "\r\nX-HvSock-Description: " +
                          HeaderText(description) + "\r\nConnection: close\r\n\r\n" + body;
    if (!SendAll(s, request)) answer.problem = "sending failed";
  }
  if (answer.problem.empty()) {
    shutdown(s, SD_SEND);
    std::string raw;
    char buffer[65536];
    for (;;) {
      int n = recv(s, buffer, sizeof buffer, 0);
      if (n == 0) break;
      if (n < 0) {
        answer.problem = WSAGetLastError() == WSAETIMEDOUT ? "no answer in time" : "receiving failed";
        break;
      }
      raw.append(buffer, static_cast<size_t>(n));
    }
    if (answer.problem.empty()) answer = Parse(raw);
  }
  if (s != INVALID_SOCKET) closesocket(s);
  WSACleanup();
  return answer;
}

}  // namespace zentsim::hvsock
