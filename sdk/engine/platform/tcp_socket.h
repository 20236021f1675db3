// What the kernel knows and decides about a TCP socket.
//
// Thread: any; plain functions on a descriptor that the caller keeps open.
// Failure: what the kernel does not answer is 0; an option that it does not take has no effect.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace NimboEngine {

// How a socket sends.
struct TcpSendOptions {
  int bufferBytes;                           // of the kernel's send buffer
  std::chrono::milliseconds unacknowledged;  // sent data for longer than this end the connection
};

// Also sends each write at once instead of waiting for more.
void setTcpSendOptions(int socket, const TcpSendOptions& options);

// The next data received are acknowledged at once instead of with an answer or a delay. Linux goes
// back to delaying by itself, so this is repeated after each read.
void acknowledgeTcpAtOnce(int socket);

// No data pass any more, in either direction; whoever polls the socket wakes up.
void cutTcp(int socket);

// Bytes in the send buffer, sent or not, that the peer has not acknowledged.
std::size_t unacknowledgedTcpBytes(int socket);

// Bytes since the connection began.
uint64_t acknowledgedTcpBytes(int socket);
uint64_t receivedTcpBytes(int socket);

}  // namespace NimboEngine
