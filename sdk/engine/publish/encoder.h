// Encodes captured media to H.264 and AAC and muxes both into FLV tags. It lives as long as a
// push, through all its connections, so that time stamps never go back for a viewer.
//
// Thread: create, start and destroy on one thread; pushVideo and pushAudio from the capture
//   threads, the rest from any. The handlers are called on threads of its own: onTag on one
//   of them only. Destruction waits for a running handler; none follows.
// Ownership: owns its pipeline; buffers pushed are referenced, not copied.
// Failure: start() answers false; later failures are reported once through onFailed.
//
// An encoder that falls behind drops captured pictures, never encoded ones.

#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "gst/pipeline.h"
#include "publish/encoder_settings.h"
#include "publish/h264_encoder.h"

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

  // Buffers carry their time as FrameConsumer tells. Pictures may change their size.
  void pushVideo(GstBuffer* buffer, const GstVideoInfo& info);
  void pushAudio(GstBuffer* buffer);

  // The next picture becomes a key frame.
  void requestKeyFrame();

  // All while it runs. The first picture of another format is a key frame.
  void setVideoKbps(int kbps);
  void setGopSeconds(int seconds) { gopSeconds_ = seconds; }
  void setVideoFormat(const VideoFormat& format);

 private:
  std::string videoBranch() const;
  void applyFormats();

  const EncoderSettings settings_;
  const Events events_;
  const H264Encoder* const h264_;  // null when there is none, or only sound

  std::mutex formats_;
  VideoFormat captured_;   // what goes in
  VideoFormat published_;  // what comes out

  std::atomic<int> gopSeconds_;
  GstClockTime lastKeyFrame_ = 0;  // of the video capture thread

  GstPtr<GstElement> videoSource_;  // null when there is only sound
  GstPtr<GstElement> videoCrop_;
  GstPtr<GstElement> videoSize_;
  GstPtr<GstElement> videoEncoder_;
  GstPtr<GstPad> videoEncoderPad_;
  GstPtr<GstElement> audioSource_;
  std::unique_ptr<Pipeline> pipeline_;  // ends first: its threads use the rest
};

}  // namespace NimboEngine
