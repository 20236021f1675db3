// One connection to an RTMP server, as a publisher or as a player: a thread that connects, runs an
// RtmpSession and ends.
//
// Thread: created and destroyed on any other thread than its own; send(), finish(), stop() and the
//   measures may be called from any. The events are raised on the connection's own thread, one at a
//   time. onMedia may block: nothing is read from the server meanwhile, which eventually slows it
//   down; it must return soon after stop(), since destruction waits for it.
// Ownership: owns thread and socket. stop() cuts the connection and returns immediately; no event
//   is raised afterwards. Destruction stops and joins, which no server can delay.
// Failure: onEnded, once; then only destruction is left.

#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

#include "base/mutex.h"
#include "gst/gst_ptr.h"
#include "net/byte_stream.h"
#include "net/connection_error.h"
#include "net/stop_signal.h"
#include "rtmp/message.h"
#include "rtmp/rtmp_session.h"
#include "rtmp/rtmp_url.h"

namespace NimboEngine {

class RtmpClient {
 public:
  // The timeout for everything up to the accepted stream (publishing) or the request for it
  // (playing).
  static constexpr std::chrono::seconds kConnectTimeout{10};

  struct Events {
    std::function<void()> onConnected;  // the server accepted the connection
    std::function<void()> onStarted;    // and the stream
    std::function<void(const RtmpMessage&)> onMedia;
    std::function<void(const ConnectionFailure&)> onEnded;
    std::function<void()> onFinished;  // finish() has completed
  };

  // Starts connecting. Unneeded handlers may be empty.
  RtmpClient(RtmpRole role, const RtmpUrl& url, Events events,
             std::chrono::milliseconds connectTimeout = kConnectTimeout);
  ~RtmpClient();
  RtmpClient(const RtmpClient&) = delete;
  RtmpClient& operator=(const RtmpClient&) = delete;

  // Publishing, from onStarted on: sends `size` bytes of `buffer` from `offset` on. Never blocks;
  // excess data are queued, and the caller monitors backlog().
  void send(RtmpType type, uint32_t timestamp, GstPtr<GstBuffer> buffer, std::size_t offset,
            std::size_t size);

  // Bytes passed to send() that the server has not acknowledged yet.
  std::size_t backlog() const;

  // Bytes that the server has acknowledged since the connection began, protocol overhead included.
  uint64_t acknowledged() const;

  // Sends what is queued, ends the stream and raises onFinished when the server has acknowledged
  // all of it or has closed the connection. There is no timeout.
  void finish();

  void stop();

 private:
  struct Media {
    RtmpType type;
    uint32_t timestamp;
    GstPtr<GstBuffer> buffer;
    std::size_t offset;
    std::size_t size;
  };

  RtmpSession::Events sessionEvents();
  void run();
  void connect();
  void converse();
  void transmit();
  bool takeQueued();
  void sendOutput();
  void receiveInput();
  bool isFinished() const;
  void waitForWork();
  int pollTimeout() const;
  void fail(ConnectionFailure failure);
  void close();

  const RtmpUrl url_;
  const Events events_;
  const std::chrono::steady_clock::time_point deadline_;
  StopSignal stop_;

  // On the connection's thread only
  RtmpSession session_;
  std::vector<uint8_t> received_;
  bool writable_ = true;  // as far as is known
  bool readable_ = true;
  bool sendFailed_ = false;
  bool streamEnded_ = false;  // all media and the end of the stream were passed to the session
  std::optional<ConnectionFailure> failure_;

  mutable Mutex mutex_;
  std::unique_ptr<ByteStream>
      stream_;  // null while not connected; changed under the mutex, by its thread
  std::deque<Media> queue_ NIMBO_GUARDED_BY(mutex_);
  std::size_t queuedBytes_ NIMBO_GUARDED_BY(mutex_) = 0;
  bool finishing_ NIMBO_GUARDED_BY(mutex_) = false;
  uint64_t lastAcknowledged_ NIMBO_GUARDED_BY(mutex_) = 0;  // when the connection ended

  std::atomic<std::size_t> outputBytes_ = 0;  // the session's, for backlog()
  std::thread thread_;                        // started last
};

}  // namespace NimboEngine
