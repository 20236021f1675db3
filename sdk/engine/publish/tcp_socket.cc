#include "publish/tcp_socket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace NimboEngine {
namespace {

// 64 KiB: a quarter of a second at 2 Mbit/s. A frozen server was then noticed after 8 s.
constexpr int kSendBufferBytes = 64 * 1024;
// 6 s was seen to cut links that were merely slow.
constexpr int kUserTimeoutMs = 10'000;

int peerPort(int descriptor) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) return -1;
  if (address.ss_family == AF_INET) {
    return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
  }
  if (address.ss_family == AF_INET6) {
    return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  }
  return -1;
}

// Calls `use(descriptor, inode)` for each socket of this process connected to `port`.
template <class Use>
void forEachSocket(int port, Use use) {
  std::error_code error;
  std::filesystem::directory_iterator entry("/proc/self/fd", error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename();
    int descriptor = -1;
    std::from_chars(name.data(), name.data() + name.size(), descriptor);
    struct stat status {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0 || !S_ISSOCK(status.st_mode)) continue;
    if (peerPort(descriptor) == port) use(descriptor, status.st_ino);
  }
}

}  // namespace

std::set<ino_t> socketsConnectedTo(int port) {
  std::set<ino_t> inodes;
  forEachSocket(port, [&](int, ino_t inode) { inodes.insert(inode); });
  return inodes;
}

std::vector<TcpSocket> TcpSocket::findNew(int port, const std::set<ino_t>& known) {
  std::vector<TcpSocket> found;
  forEachSocket(port, [&](int descriptor, ino_t inode) {
    if (known.contains(inode)) return;
    TcpSocket candidate(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
    // The number may have changed hands between the look and the copy.
    struct stat status {};
    if (fstat(candidate.descriptor_, &status) == 0 && status.st_ino == inode) {
      found.push_back(std::move(candidate));
    }
  });
  return found;
}

TcpSocket::TcpSocket(TcpSocket&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

TcpSocket& TcpSocket::operator=(TcpSocket&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

TcpSocket::~TcpSocket() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool TcpSocket::limit() {
  return setsockopt(descriptor_, SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes,
                    sizeof kSendBufferBytes) == 0 &&
         setsockopt(descriptor_, IPPROTO_TCP, TCP_USER_TIMEOUT, &kUserTimeoutMs,
                    sizeof kUserTimeoutMs) == 0;
}

std::size_t TcpSocket::unacknowledged() const {
  int bytes = 0;
  return ioctl(descriptor_, SIOCOUTQ, &bytes) == 0 ? static_cast<std::size_t>(bytes) : 0;
}

uint64_t TcpSocket::acknowledged() const {
  tcp_info info{};
  socklen_t size = sizeof info;
  return getsockopt(descriptor_, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_bytes_acked
                                                                           : 0;
}

}  // namespace NimboEngine
