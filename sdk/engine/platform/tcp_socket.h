// Options and counters of a TCP socket.
//
// Thread: any; plain functions on a descriptor that the caller keeps open.
// Failure: counters that the kernel does not provide are 0; unsupported options have no effect.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace NimboEngine {

// Send options of a socket.
struct TcpSendOptions {
  int bufferBytes;                           // of the kernel's send buffer
  std::chrono::milliseconds unacknowledged;  // sent data for longer than this end the connection
};

// Also sends each write at once instead of waiting for more.
void setTcpSendOptions(int socket, const TcpSendOptions& options);

// Acknowledges the next received data immediately instead of with a response or after a delay.
// Linux reverts to delaying by itself, so this must be repeated after each read.
void acknowledgeTcpAtOnce(int socket);

// Shuts the socket down in both directions; threads that poll it wake up.
void cutTcp(int socket);

// Bytes in the send buffer, sent or not, that the peer has not acknowledged.
std::size_t unacknowledgedTcpBytes(int socket);

// Bytes since the connection began.
uint64_t acknowledgedTcpBytes(int socket);
uint64_t receivedTcpBytes(int socket);

}  // namespace NimboEngine
