// The TCP connection under an RTMP element, which keeps its descriptor to itself: found through the
// process's own descriptor table, limited and measured.
//
// Without limits a server that has frozen goes unnoticed: the kernel's send buffer grows to several
// megabytes and swallows the stream for minutes.
//
// Thread: any. The descriptor table may be changed by other threads meanwhile: a descriptor that
//   closes under way is skipped.
// Ownership: a TcpSocket holds a descriptor of its own for the same connection, which therefore is
//   not closed before it ends.
// Failure: a measure that cannot be taken is 0.

#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

namespace NimboEngine {

class TcpSocket {
 public:
  // The sockets of this process that are connected to a peer's TCP `port` and not among `known`.
  // They are more than one when somebody else connected to that port meanwhile.
  static std::vector<TcpSocket> findNew(int port, const std::set<ino_t>& known);

  TcpSocket(TcpSocket&& other) noexcept;
  TcpSocket& operator=(TcpSocket&& other) noexcept;
  ~TcpSocket();

  // Limits the send buffer and the time that sent data may stay unacknowledged. False when the
  // system refuses.
  bool limit();

  // Bytes in the send buffer, sent and not acknowledged ones included.
  std::size_t unacknowledged() const;

  // Bytes that the peer has acknowledged since the connection began.
  uint64_t acknowledged() const;

 private:
  explicit TcpSocket(int descriptor) : descriptor_(descriptor) {}

  int descriptor_;
};

// The sockets of this process that are connected to a peer's TCP `port`, named by their inode.
std::set<ino_t> socketsConnectedTo(int port);

}  // namespace NimboEngine
