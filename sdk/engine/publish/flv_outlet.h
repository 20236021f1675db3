// Between the encoder, which lives as long as a push, and the connections, which come and go:
// keeps the stream's headers, repeats them to each connection and lets its gate drop what a
// connection cannot take.
//
// Thread: deliver() on the encoder's thread, the rest from any. The handlers are called from
//   deliver() and must return soon.
// Ownership: the connection is the caller's; detach() it before it ends.
// Failure: none.

#pragma once

#include <functional>
#include <map>
#include <mutex>

#include "publish/flv_tag.h"
#include "publish/tag_gate.h"

namespace NimboEngine {

class RtmpConnection;

class FlvOutlet {
 public:
  struct Events {
    std::function<void()> onFirstFrame;  // of a connection
    std::function<void()> onKeyFrameNeeded;
  };

  FlvOutlet(bool audioOnly, std::size_t backlogLimit, Events events);

  // From the next key frame on, tags go to `connection`.
  void attach(RtmpConnection* connection);

  // When it returns, the connection is not used any more.
  void detach();

  void deliver(GstPtr<GstBuffer> tag);

 private:
  void sendHeaders(uint32_t timestamp);

  const Events events_;
  std::mutex mutex_;
  TagGate gate_;
  RtmpConnection* connection_ = nullptr;
  std::map<FlvTag, GstPtr<GstBuffer>> headers_;  // metadata first, as its key comes first
};

}  // namespace NimboEngine
