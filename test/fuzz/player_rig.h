// Plays an address to its end, like a player, and reads every byte of the output.

#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace NimboEngine::test {

// A server on loopback that gives each connection to `answer`, one after the other, on a thread
// that never ends. The handler does not close it.
class PlayServer {
 public:
  explicit PlayServer(std::function<void(int connection)> answer);

  int port() const { return port_; }

 private:
  int port_ = 0;
};

// Reads up to an empty line; returns an empty text if the peer closes before.
std::string readRequest(int connection);

// Returns false if the peer has disconnected.
bool sendAll(int connection, const std::string& bytes);

// Ends the process if a playback that is asked to stop after `timeout` does not.
void playToItsEnd(const std::string& address, std::chrono::milliseconds timeout);

}  // namespace NimboEngine::test
