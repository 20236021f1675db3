// The stage between the encoder, which lasts for the whole push, and its successive connections:
// keeps the stream's headers, repeats them to each connection and drops, by its frame gate, frames
// that a connection cannot take. Metadata are sent before the first frame of a connection and
// before a frame of another format.
//
// Thread: onPacket() on the encoder's thread, the rest from any. The handlers are called from
//   onPacket() and must return soon.
// Ownership: the connection is the caller's; detach() it before its destruction.
// Failure: none.

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>

#include "base/mutex.h"
#include "publish/frame_gate.h"
#include "publish/link_monitor.h"
#include "publish/muxer.h"
#include "publish/packet_sink.h"
#include "publish/send_queue_estimator.h"

namespace NimboEngine {

class Connection;

class ConnectionOutput final : public PacketSink {
 public:
  struct Events {
    std::function<void()> onFirstFrame;  // the first frame of a connection was sent
    std::function<void()> onMetadataSent;
    std::function<void()> onKeyFrameNeeded;
    std::function<void()> onFramesDropped;  // once each time that a connection catches up
  };

  ConnectionOutput(bool audioOnly, Events events);

  // Call before the first packet. `muxer` creates the packets and outlives this object.
  void setMuxer(const Muxer& muxer) { muxer_ = &muxer; }

  // From the next key frame on, packets go to `connection`.
  void attach(Connection* connection);

  // After it has returned, the connection is not used any more.
  void detach();

  void onPacket(GstBuffer* packet) override;

  // Samples the state of the connection; all zero without one.
  LinkSample sample();

  // Returns whether the server has acknowledged the first frame of the connection, and everything
  // before it.
  bool hasTakenFirstFrame();

 private:
  std::chrono::milliseconds waiting() NIMBO_REQUIRES(mutex_);
  void send(GstPtr<GstBuffer> packet) NIMBO_REQUIRES(mutex_);
  void sendHeader(PacketKind kind, uint32_t timestamp) NIMBO_REQUIRES(mutex_);

  const Events events_;
  const Muxer* muxer_ = nullptr;
  Mutex mutex_;
  FrameGate gate_ NIMBO_GUARDED_BY(mutex_);
  Connection* connection_ NIMBO_GUARDED_BY(mutex_) = nullptr;
  SendQueueEstimator sendQueue_ NIMBO_GUARDED_BY(mutex_);  // of the connection
  uint64_t payload_ NIMBO_GUARDED_BY(mutex_) = 0;  // bytes in the packets sent to the connection
  uint64_t acknowledgedBefore_ NIMBO_GUARDED_BY(mutex_) =
      0;  // bytes acknowledged when it was attached
  std::optional<uint64_t> firstFrame_
      NIMBO_GUARDED_BY(mutex_);  // bytes acknowledged once the first frame has arrived
  std::map<PacketKind, GstPtr<GstBuffer>> headers_ NIMBO_GUARDED_BY(mutex_);
  bool videoHeaderChanged_ NIMBO_GUARDED_BY(mutex_) = false;  // since it was last sent
};

}  // namespace NimboEngine
