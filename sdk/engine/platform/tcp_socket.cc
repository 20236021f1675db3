#include "platform/tcp_socket.h"

#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace NimboEngine {
namespace {

tcp_info infoOf(int socket) {
  tcp_info info{};
  socklen_t size = sizeof info;
  const bool known = getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0;
  return known ? info : tcp_info{};
}

void setOption(int socket, int level, int option, int value) {
  setsockopt(socket, level, option, &value, sizeof value);
}

}  // namespace

void setTcpSendOptions(int socket, const TcpSendOptions& options) {
  setOption(socket, SOL_SOCKET, SO_SNDBUF, options.bufferBytes);
  setOption(socket, IPPROTO_TCP, TCP_USER_TIMEOUT,
            static_cast<int>(options.unacknowledged.count()));
  setOption(socket, IPPROTO_TCP, TCP_NODELAY, 1);
}

void acknowledgeTcpAtOnce(int socket) {
  setOption(socket, IPPROTO_TCP, TCP_QUICKACK, 1);
}

void cutTcp(int socket) {
  shutdown(socket, SHUT_RDWR);
}

std::size_t unacknowledgedTcpBytes(int socket) {
  int bytes = 0;
  return ioctl(socket, SIOCOUTQ, &bytes) == 0 ? static_cast<std::size_t>(bytes) : 0;
}

uint64_t acknowledgedTcpBytes(int socket) {
  return infoOf(socket).tcpi_bytes_acked;
}

uint64_t receivedTcpBytes(int socket) {
  return infoOf(socket).tcpi_bytes_received;
}

}  // namespace NimboEngine
