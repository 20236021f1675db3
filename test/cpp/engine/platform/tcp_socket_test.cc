#include "platform/tcp_socket.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>

namespace NimboEngine {
namespace {

// Two ends of one connection on loopback.
class TcpSocket : public testing::Test {
 protected:
  void SetUp() override {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr generic{};
    std::memcpy(&generic, &address, sizeof address);
    socklen_t size = sizeof generic;
    ASSERT_EQ(bind(listener, &generic, size), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    ASSERT_EQ(getsockname(listener, &generic, &size), 0);
    near_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(connect(near_, &generic, size), 0);
    far_ = accept(listener, nullptr, nullptr);
    close(listener);
  }
  ~TcpSocket() override {
    close(near_);
    close(far_);
  }

  int option(int level, int name) const {
    int value = 0;
    socklen_t size = sizeof value;
    getsockopt(near_, level, name, &value, &size);
    return value;
  }

  int near_ = -1;
  int far_ = -1;
};

TEST_F(TcpSocket, CountsWhatThePeerReceivedAndAcknowledged) {
  const uint64_t before = acknowledgedTcpBytes(near_);
  const std::string sent(1000, 'x');
  ASSERT_EQ(send(near_, sent.data(), sent.size(), 0), 1000);
  std::array<char, 1000> received{};
  ASSERT_EQ(recv(far_, received.data(), received.size(), MSG_WAITALL), 1000);
  EXPECT_EQ(receivedTcpBytes(far_), 1000u);
  // A reply carries the acknowledgement.
  ASSERT_EQ(send(far_, "y", 1, 0), 1);
  ASSERT_EQ(recv(near_, received.data(), 1, 0), 1);
  EXPECT_EQ(acknowledgedTcpBytes(near_) - before, 1000u);
  EXPECT_EQ(unacknowledgedTcpBytes(near_), 0u);
}

TEST_F(TcpSocket, CountsUnacknowledgedBytes) {
  const std::string bytes(65536, 'x');
  std::size_t queued = 0;
  for (ssize_t count = 1; count > 0; queued += static_cast<std::size_t>(count)) {
    count = send(near_, bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count < 0) break;
  }
  EXPECT_GT(unacknowledgedTcpBytes(near_), 0u);
  EXPECT_LE(unacknowledgedTcpBytes(near_), queued);
}

TEST_F(TcpSocket, TakesItsSendOptions) {
  setTcpSendOptions(near_, {.bufferBytes = 8192, .unacknowledged = std::chrono::seconds(7)});
  EXPECT_EQ(option(SOL_SOCKET, SO_SNDBUF), 2 * 8192) << "the kernel doubles it for its own use";
  EXPECT_EQ(option(IPPROTO_TCP, TCP_USER_TIMEOUT), 7000);
  EXPECT_NE(option(IPPROTO_TCP, TCP_NODELAY), 0);
}

TEST_F(TcpSocket, WakesBothEndsWhenItIsCut) {
  cutTcp(near_);
  char byte = 0;
  EXPECT_EQ(recv(near_, &byte, 1, 0), 0);
  EXPECT_EQ(recv(far_, &byte, 1, 0), 0);
}

TEST(TcpSocketOfNothing, CountsAreZero) {
  EXPECT_EQ(acknowledgedTcpBytes(-1), 0u);
  EXPECT_EQ(receivedTcpBytes(-1), 0u);
  EXPECT_EQ(unacknowledgedTcpBytes(-1), 0u);
}

}  // namespace
}  // namespace NimboEngine
