// Between the encoder, which lives as long as a push, and the connections, which come and go:
// keeps the stream's headers, repeats them to each connection and lets its gate drop what a
// connection cannot take. Metadata go before the first frame of a connection and before a picture
// of another format.
//
// Thread: deliver() on the encoder's thread, the rest from any. The handlers are called from
//   deliver() and must return soon.
// Ownership: the connection is the caller's; detach() it before it ends.
// Failure: none.

#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>

#include "publish/flv_tag.h"
#include "publish/frame_gate.h"
#include "publish/link_monitor.h"
#include "publish/send_queue_estimator.h"

namespace NimboEngine {

class Connection;

class FlvOutput {
 public:
  struct Events {
    std::function<void()> onFirstFrame;  // of a connection
    std::function<void()> onMetadataSent;
    std::function<void()> onKeyFrameNeeded;
    std::function<void()> onFramesDropped;  // once for each time that a connection catches up
  };

  FlvOutput(bool audioOnly, Events events);

  // From the next key frame on, tags go to `connection`.
  void attach(Connection* connection);

  // When it returns, the connection is not used any more.
  void detach();

  void deliver(GstPtr<GstBuffer> tag);

  // How the connection does; all zero without one.
  LinkSample sample();

  // Whether the server has taken the first frame of the connection, and what led to it.
  bool hasTakenFirstFrame();

 private:
  std::chrono::milliseconds waiting();
  void send(GstPtr<GstBuffer> tag);
  void sendHeader(FlvTag kind, uint32_t timestamp);

  const Events events_;
  std::mutex mutex_;
  FrameGate gate_;
  Connection* connection_ = nullptr;
  SendQueueEstimator sendQueue_;        // of the connection
  uint64_t payload_ = 0;                // bytes in the tags sent to the connection
  uint64_t acknowledgedBefore_ = 0;     // bytes the server had taken when it was attached
  std::optional<uint64_t> firstFrame_;  // what it must have taken for the first frame to be there
  std::map<FlvTag, GstPtr<GstBuffer>> headers_;
  bool videoHeaderChanged_ = false;  // since it was last sent
};

}  // namespace NimboEngine
