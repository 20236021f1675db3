// One connection to a server for publishing: muxed packets in, events out. A failed or finished
// connection is not reused; the next attempt is a new object.
//
// Thread: created, used and destroyed on the engine thread, where the events are raised too;
//   send(), backlog() and acknowledged() may be called from any thread, from onAccepted on, during
//   the object's lifetime.
// Ownership: destruction closes the connection immediately, whatever the network does; no event
//   follows.
// Failure: onFailed, once, after which only destruction is left.

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "NimboSdk/LumoLiveResult.h"
#include "base/engine_thread.h"
#include "gst/gst_ptr.h"
#include "publish/push_url.h"

namespace NimboEngine {

class Connection {
 public:
  struct Events {
    // The server has accepted the stream.
    std::function<void()> onAccepted;
    // The handler may destroy the connection.
    std::function<void(LumoRtc::LumoLiveErrorCode, const std::string& message)> onFailed;
    // finish() has completed.
    std::function<void()> onDrained;
  };

  Connection() = default;
  virtual ~Connection() = default;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Starts connecting.
  virtual void open() = 0;

  // Never blocks. `packet` comes from the protocol's muxer.
  virtual void send(GstPtr<GstBuffer> packet) = 0;

  // Bytes passed to send() that the server has not acknowledged yet.
  virtual std::size_t backlog() const = 0;

  // Bytes that the server has acknowledged since the connection began, protocol overhead included.
  virtual uint64_t acknowledged() const = 0;

  // Drains the send queue and ends the stream on the server, for a third of a second at most, then
  // raises onDrained. Nothing may be sent afterwards.
  virtual void finish() = 0;
};

}  // namespace NimboEngine
