// httpsPost taking 1, 8 and 32 MB replies from a listener thread of this
// process, against a bare Winsock loop making the same calls: socket,
// connect, send, shutdown, recv into a buffer that grows by 1,024 bytes when
// full, closesocket. And how the time grows from 1 to 32 MB.
#include <winsock2.h>
#include <ws2tcpip.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "interleaved_rounds.h"
#include "server/http_request.h"
#include "server/https_post_win.h"

namespace {

constexpr size_t kMegabyte = 1 << 20;

// Serves every connection: reads the request to its end, sends the reply of
// the size asked for, closes.
struct ReplyServer {
  SOCKET listening = INVALID_SOCKET;
  uint16_t port = 0;
  std::string reply;
  std::atomic<size_t> size{0};
  std::thread thread;

  void Start(size_t largest) {
    reply.assign(largest, 'r');
    listening = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address);
    listen(listening, 4);
    int length = sizeof address;
    getsockname(listening, reinterpret_cast<sockaddr*>(&address), &length);
    port = ntohs(address.sin_port);
    thread = std::thread([this] { Serve(); });
  }

  void Serve() {
    std::vector<char> buffer(65536);
    while (true) {
      SOCKET s = accept(listening, nullptr, nullptr);
      if (s == INVALID_SOCKET) return;
      while (recv(s, buffer.data(), static_cast<int>(buffer.size()), 0) > 0) {
      }
      size_t total = size.load(), sent = 0;
      while (sent < total) {
        int count = send(s, reply.data() + sent, static_cast<int>(std::min<size_t>(total - sent, 1 << 20)), 0);
        if (count <= 0) break;
        sent += static_cast<size_t>(count);
      }
      closesocket(s);
    }
  }

  void Stop() {
    closesocket(listening);
    thread.join();
  }
};

// The same calls as httpsPost, without its log lines and time-outs.
size_t BareExchange(uint16_t port, const std::string& request) {
  SOCKET s = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = inet_addr("127.0.0.1");
  connect(s, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  size_t sent = 0;
  while (sent < request.size()) {
    int count = send(s, request.data() + sent, static_cast<int>(request.size() - sent), 0);
    if (count <= 0) break;
    sent += static_cast<size_t>(count);
  }
  shutdown(s, SD_SEND);
  std::string response(1024, '\0');
  size_t received = 0;
  while (true) {
    if (received == response.size()) response.resize(response.size() + 1024);
    int count = recv(s, response.data() + received, static_cast<int>(response.size() - received), 0);
    if (count <= 0) break;
    received += static_cast<size_t>(count);
  }
  response.resize(received);
  closesocket(s);
  return received;
}

}  // namespace

int main() {
  WSADATA wsa;
  WSAStartup(MAKEWORD(2, 2), &wsa);
  ReplyServer server;
  server.Start(32 * kMegabyte);
  const std::string request = BuildHttpRequest(7, kDirectHeartBeatBody);
  const size_t sizes[] = {1, 8, 32};
  std::vector<double> agent, bare;
  for (size_t megabytes : sizes) {
    server.size = megabytes * kMegabyte;
    size_t checked = 0;
    std::vector<double> medians = InterleavedMedians(
        megabytes == 32 ? 5 : 9,
        {{"httpsPost",
          [&] {
            std::string response;
            httpsPost("127.0.0.1", server.port, request, response);
            checked = response.size();
          }},
         {"bare", [&] { BareExchange(server.port, request); }}});
    if (checked != server.size) std::printf("httpsPost took %zu bytes of %zu\n", checked, server.size.load());
    agent.push_back(medians[0]);
    bare.push_back(medians[1]);
    PrintRatio("httpsPost, " + std::to_string(megabytes) + " MB reply, against the bare loop", medians[0], medians[1],
               1.3);
  }
  PrintRatio("httpsPost, 32 MB reply against its 1 MB reply", agent[2], agent[0], 40);
  server.Stop();
  return 0;
}
