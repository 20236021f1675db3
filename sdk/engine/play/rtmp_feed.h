// Fetches a live stream over RTMP or RTMPS and delivers it as FLV: the file header once, before the
// first tag, then one buffer for each tag, with its header before it and its size behind it.
// Buffers have no time stamps; the tag contains its own.
//
// Thread: created and destroyed on any other thread than its own; stop() from any. The events are
//   raised on the feed's thread, one at a time. onTag may block, which stops reading from the
//   server; it must return soon after stop(), since destruction waits for it.
// Ownership: owns the connection. stop() cuts it and returns immediately; no event is raised
//   afterwards.
// Failure: onEnded, once. A server that accepts the stream and sends nothing is not a failure here.

#pragma once

#include <functional>
#include <string>

#include "gst/gst_ptr.h"
#include "rtmp/rtmp_client.h"

namespace NimboEngine {

class RtmpFeed {
 public:
  struct Events {
    // The server accepted the connection.
    std::function<void()> onAnswered;
    std::function<void(GstPtr<GstBuffer>)> onTag;
    std::function<void(ConnectionError, const std::string& text)> onEnded;
  };

  // Starts connecting.
  RtmpFeed(const RtmpUrl& url, Events events);

  void stop() { client_.stop(); }

 private:
  void onMedia(const RtmpMessage& message);

  const Events events_;
  bool begun_ = false;  // the file header was delivered
  RtmpClient client_;   // started last: its thread uses the rest
};

}  // namespace NimboEngine
