// httpsPost against a listener thread of the test: the exchange's order,
// its time-out, and its limit on the reply's size.
#include <winsock2.h>
#include <ws2tcpip.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>

#include "server/https_post_win.h"

namespace {

struct Winsock {
  Winsock() {
    WSADATA wsa;
    WSAStartup(MAKEWORD(2, 2), &wsa);
  }
} winsock;

// Reads what the agent sends, up to its shutdown of the send side.
std::string ReadToEnd(SOCKET s) {
  std::string bytes;
  char buffer[65536];
  int count;
  while ((count = recv(s, buffer, sizeof buffer, 0)) > 0) bytes.append(buffer, static_cast<size_t>(count));
  return bytes;
}

void SendAll(SOCKET s, const std::string& bytes) {
  size_t sent = 0;
  while (sent < bytes.size()) {
    int count = send(s, bytes.data() + sent, static_cast<int>(bytes.size() - sent), 0);
    if (count <= 0) return;
    sent += static_cast<size_t>(count);
  }
}

// One connection on a port of 127.0.0.1, served by `peer` on a thread.
class LocalListener {
 public:
  explicit LocalListener(std::function<void(SOCKET)> peer) {
    listening_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(listening_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    listen(listening_, 1);
    int length = sizeof address;
    getsockname(listening_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this, peer] {
      SOCKET s = accept(listening_, nullptr, nullptr);
      if (s == INVALID_SOCKET) return;
      peer(s);
      closesocket(s);
    });
  }
  ~LocalListener() {
    closesocket(listening_);
    thread_.join();
  }
  uint16_t port() const { return port_; }

 private:
  SOCKET listening_;
  uint16_t port_ = 0;
  std::thread thread_;
};

TEST(HttpsPost, SendsShutsItsSendSideAndReadsUntilThePeerCloses) {
  std::string received;
  std::string response;
  {
    LocalListener listener([&](SOCKET s) {
      received = ReadToEnd(s);
      SendAll(s, "HTTP/1.1 200 OK\r\n\r\n{}");
    });
    ASSERT_TRUE(httpsPost("127.0.0.1", listener.port(), "POST / HTTP/1.1\r\n\r\nbody", response));
  }
  EXPECT_EQ(received, "POST / HTTP/1.1\r\n\r\nbody");
  EXPECT_EQ(response, "HTTP/1.1 200 OK\r\n\r\n{}");
}

TEST(HttpsPost, ReplyLongerThanItsFirstBufferComesWholeAndInOrder) {
  std::string reply;
  for (int i = 0; reply.size() < 300000; ++i) reply += std::to_string(i) + ",";
  std::string response;
  {
    LocalListener listener([&](SOCKET s) {
      ReadToEnd(s);
      for (size_t at = 0; at < reply.size(); at += 777) SendAll(s, reply.substr(at, 777));
    });
    ASSERT_TRUE(httpsPost("127.0.0.1", listener.port(), "x", response));
  }
  EXPECT_EQ(response, reply);
}

TEST(HttpsPost, RefusedConnectFails) {
  uint16_t port;
  { LocalListener closed([](SOCKET) {}); port = closed.port(); }
  std::string response = "untouched";
  EXPECT_FALSE(httpsPost("127.0.0.1", port, "x", response));
}

TEST(HttpsPost, HostNameIsNoAddress) {
  std::string response;
  EXPECT_FALSE(httpsPost("localhost", 1, "x", response));
}

TEST(HttpsPost, PeerSilentAfterItsReplyEndsAtTheTimeOutKeepingWhatCame) {
  HANDLE release = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::string response;
  {
    LocalListener listener([&](SOCKET s) {
      ReadToEnd(s);
      SendAll(s, "partial");
      WaitForSingleObject(release, 30000);
    });
    EXPECT_TRUE(httpsPostWithin("127.0.0.1", listener.port(), "x", response, 500));
    SetEvent(release);
  }
  EXPECT_EQ(response, "partial");
  CloseHandle(release);
}

TEST(HttpsPost, PendingSendToAPeerThatNeverReadsFailsAtTheTimeOut) {
  HANDLE release = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::string response;
  {
    LocalListener listener([&](SOCKET) { WaitForSingleObject(release, 30000); });
    // Far more than the socket buffers of both ends hold.
    EXPECT_FALSE(httpsPostWithin("127.0.0.1", listener.port(), std::string(64 << 20, 'r'), response, 500));
    SetEvent(release);
  }
  CloseHandle(release);
}

TEST(HttpsPost, ReplyIsCutAt64MiB) {
  std::string response;
  {
    LocalListener listener([&](SOCKET s) {
      ReadToEnd(s);
      std::string block(1 << 20, 'z');
      for (int i = 0; i < 66; ++i) SendAll(s, block);
    });
    EXPECT_TRUE(httpsPost("127.0.0.1", listener.port(), "x", response));
  }
  EXPECT_EQ(response.size(), kHttpResponseLimit);
  EXPECT_EQ(kHttpResponseLimit, size_t{67108864});
  EXPECT_EQ(response.find_first_not_of('z'), std::string::npos);
}

}  // namespace
