#include "publish/tcp_socket.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace NimboEngine {
namespace {

class Socket {
 public:
  explicit Socket(int descriptor = socket(AF_INET, SOCK_STREAM, 0)) : descriptor_(descriptor) {}
  Socket(Socket&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  ~Socket() { close(descriptor_); }

  int get() const { return descriptor_; }
  int userTimeout() const { return option(IPPROTO_TCP, TCP_USER_TIMEOUT); }
  int sendBuffer() const { return option(SOL_SOCKET, SO_SNDBUF); }

 private:
  int option(int level, int name) const {
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(descriptor_, level, name, &value, &size);
    return value;
  }

  int descriptor_;
};

class TcpSocketTest : public testing::Test {
 protected:
  TcpSocketTest() {
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address_), sizeof address_),
              0);
    listen(listener_.get(), 4);
    socklen_t size = sizeof address_;
    getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address_), &size);
  }

  int port() const { return ntohs(address_.sin_port); }

  Socket connected() const {
    Socket client;
    EXPECT_EQ(connect(client.get(), reinterpret_cast<const sockaddr*>(&address_), sizeof address_),
              0);
    return client;
  }

 private:
  Socket listener_;
  sockaddr_in address_{};
};

TEST_F(TcpSocketTest, OnlyNewConnectionsToThePortAreLimited) {
  const Socket old = connected();
  const auto known = socketsConnectedTo(port());
  EXPECT_EQ(known.size(), 1u);
  const Socket fresh = connected();
  EXPECT_EQ(limitNewSockets(port(), known), 1);
  EXPECT_EQ(fresh.userTimeout(), 10'000);
  EXPECT_EQ(fresh.sendBuffer(), 2 * 64 * 1024) << "the kernel doubles what it is given";
  EXPECT_EQ(old.userTimeout(), 0);
  EXPECT_NE(old.sendBuffer(), fresh.sendBuffer());
}

TEST_F(TcpSocketTest, NothingToLimit) {
  EXPECT_TRUE(socketsConnectedTo(port()).empty());
  EXPECT_EQ(limitNewSockets(port(), {}), 0);
}

}  // namespace
}  // namespace NimboEngine
