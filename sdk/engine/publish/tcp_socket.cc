#include "publish/tcp_socket.h"

#include <arpa/inet.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <charconv>
#include <filesystem>
#include <system_error>

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

int limitNewSockets(int port, const std::set<ino_t>& known) {
  int limited = 0;
  forEachSocket(port, [&](int descriptor, ino_t inode) {
    if (known.contains(inode)) return;
    const bool done = setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes,
                                 sizeof kSendBufferBytes) == 0 &&
                      setsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &kUserTimeoutMs,
                                 sizeof kUserTimeoutMs) == 0;
    if (done) ++limited;
  });
  return limited;
}

}  // namespace NimboEngine
