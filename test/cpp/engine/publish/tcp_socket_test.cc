#include "publish/tcp_socket.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>
#include <thread>
#include <utility>
#include <vector>

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

TEST_F(TcpSocketTest, OnlyTheNewConnectionToThePortIsLimited) {
  const Socket old = connected();
  const auto known = socketsConnectedTo(port());
  EXPECT_EQ(known.size(), 1u);
  const Socket fresh = connected();
  auto found = TcpSocket::findNew(port(), known);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_TRUE(found[0].limit());
  EXPECT_EQ(fresh.userTimeout(), 10'000);
  EXPECT_EQ(fresh.sendBuffer(), 2 * 64 * 1024) << "the kernel doubles what it is given";
  EXPECT_EQ(old.userTimeout(), 0);
  EXPECT_NE(old.sendBuffer(), fresh.sendBuffer());
}

TEST_F(TcpSocketTest, FindsAllThatAreNew) {
  const Socket one = connected();
  const Socket two = connected();
  EXPECT_EQ(TcpSocket::findNew(port(), {}).size(), 2u);
}

TEST_F(TcpSocketTest, NothingToFind) {
  EXPECT_TRUE(socketsConnectedTo(port()).empty());
  EXPECT_TRUE(TcpSocket::findNew(port(), {}).empty());
}

TEST_F(TcpSocketTest, TellsWhatThePeerHasTaken) {
  const Socket client = connected();
  const auto found = TcpSocket::findNew(port(), {});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].unacknowledged(), 0u);
  const uint64_t before = found[0].acknowledged();
  ASSERT_EQ(send(client.get(), "hello", 5, 0), 5);
  while (found[0].unacknowledged() > 0) std::this_thread::yield();
  EXPECT_EQ(found[0].acknowledged() - before, 5u);
}

TEST_F(TcpSocketTest, TellsWhatWaits) {
  const Socket client = connected();
  auto found = TcpSocket::findNew(port(), {});
  ASSERT_EQ(found.size(), 1u);
  ASSERT_TRUE(found[0].limit());
  const std::vector<char> block(64 * 1024);
  // Nobody reads at the other end: in the end its buffer and this one are full.
  while (send(client.get(), block.data(), block.size(), MSG_DONTWAIT) > 0)
    ;
  EXPECT_GT(found[0].unacknowledged(), 32u * 1024);
}

TEST_F(TcpSocketTest, OutlivesTheDescriptorItWasFoundBy) {
  auto client = std::make_optional(connected());
  const auto known = socketsConnectedTo(port());
  const auto found = TcpSocket::findNew(port(), {});
  client.reset();
  EXPECT_EQ(socketsConnectedTo(port()), known);
}

}  // namespace
}  // namespace NimboEngine
