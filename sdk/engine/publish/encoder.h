// Encodes captured media to H.264 and AAC and muxes both into FLV tags. It lives as long as a
// push, through all its connections, so that time stamps never go back for a viewer.
//
// Thread: create, start and destroy on one thread; pushVideo and pushAudio from the capture
//   threads, requestKeyFrame from any. The handlers are called on threads of its own: onTag on one
//   of them only. Destruction waits for a running handler; none follows.
// Ownership: owns its pipeline; buffers pushed are referenced, not copied.
// Failure: start() answers false; later failures are reported once through onFailed.
//
// An encoder that falls behind drops captured pictures, never encoded ones.

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "gst/pipeline.h"
#include "publish/encoder_settings.h"

namespace NimboEngine {

class Encoder {
 public:
  struct Events {
    std::function<void(GstPtr<GstBuffer> tag)> onTag;
    std::function<void(const std::string& message)> onFailed;
  };

  Encoder(const EncoderSettings& settings, Events events);
  ~Encoder();
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  bool start();

  // Buffers carry their time as FrameConsumer tells.
  void pushVideo(GstBuffer* buffer);
  void pushAudio(GstBuffer* buffer);

  // The next picture becomes a key frame.
  void requestKeyFrame();

 private:
  const EncoderSettings settings_;
  const Events events_;

  GstPtr<GstElement> videoSource_;  // null when there is only sound
  GstPtr<GstElement> audioSource_;
  GstPtr<GstPad> videoEncoderPad_;
  std::unique_ptr<Pipeline> pipeline_;  // ends first: its threads use the rest
};

}  // namespace NimboEngine
