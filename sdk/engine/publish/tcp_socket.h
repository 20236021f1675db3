// Sets options of a TCP connection whose descriptor the RTMP element keeps to itself.
//
// Without them a server that has frozen goes unnoticed: the kernel's send buffer grows to several
// megabytes and swallows the stream for minutes.
//
// Thread: any. Reads the process's own descriptor table, which other threads may change meanwhile:
// a descriptor that closes under way is skipped.

#pragma once

#include <sys/types.h>

#include <set>

namespace NimboEngine {

// The sockets of this process that are connected to a peer's TCP `port`, named by their inode.
std::set<ino_t> socketsConnectedTo(int port);

// Limits the send buffer, and the time that sent data may stay unacknowledged, of the sockets
// connected to `port` that are not among `known`. Returns how many there were.
int limitNewSockets(int port, const std::set<ino_t>& known);

}  // namespace NimboEngine
