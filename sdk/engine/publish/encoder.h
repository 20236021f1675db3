// Encodes captured media to H.264 and AAC and muxes both. It lasts for the whole push, through all
// its connections, so that time stamps never go back for a viewer.
//
// Thread: create, start and destroy on one thread; pushVideo and pushAudio from the capture
//   threads, the rest from any. Sinks and handlers are called on threads of its own, the sinks on
//   one of them only. Destruction waits for a running call; none follows.
// Ownership: owns its pipeline; buffers pushed are referenced, not copied.
// Failure: start() returns false; later failures are reported once through onFailed.
//
// An encoder that falls behind drops captured frames, never encoded ones.

#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "base/mutex.h"
#include "base/sink_list.h"
#include "gst/pipeline.h"
#include "publish/encoder_settings.h"
#include "publish/h264_encoder.h"
#include "publish/muxer.h"
#include "publish/packet_sink.h"

namespace NimboEngine {

// Returns whether there is video to encode, and no hardware encoder would do it.
bool encodesInSoftware(const EncoderSettings& settings);

class Encoder {
 public:
  struct Events {
    std::function<void(const std::string& message)> onFailed;
  };

  Encoder(const EncoderSettings& settings, Events events);
  ~Encoder();
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  // removeSink() blocks until a running call has returned.
  void addSink(PacketSink* sink) { sinks_.add(sink); }
  void removeSink(PacketSink* sink) { sinks_.remove(sink); }

  // `muxer` must outlive the encoder.
  bool start(const Muxer& muxer);

  // Buffers carry their time as described in FrameConsumer. The frame size may change.
  void pushVideo(GstBuffer* buffer, const GstVideoInfo& info);
  void pushAudio(GstBuffer* buffer);

  // Makes the next frame a key frame.
  void requestKeyFrame();

  // Changes of the running encoder. The first frame of another format is a key frame.
  void setVideoKbps(int kbps);
  void setGopSeconds(int seconds) { gopSeconds_ = seconds; }
  void setVideoFormat(const VideoFormat& format);

 private:
  std::string videoBranch(const Muxer& muxer) const;
  void applyFormats() NIMBO_REQUIRES(formats_);

  const EncoderSettings settings_;
  const Events events_;
  const H264Encoder* const h264_;  // null if there is none, or only audio

  SinkList<PacketSink> sinks_;

  Mutex formats_;
  VideoFormat captured_ NIMBO_GUARDED_BY(formats_);   // the input
  VideoFormat published_ NIMBO_GUARDED_BY(formats_);  // the output

  std::atomic<int> gopSeconds_;
  GstClockTime lastKeyFrame_ = 0;  // of the video capture thread

  GstPtr<GstElement> videoSource_;  // null when there is only audio
  GstPtr<GstElement> videoCrop_;
  GstPtr<GstElement> videoSize_;
  GstPtr<GstElement> videoEncoder_;
  GstPtr<GstPad> videoEncoderPad_;
  GstPtr<GstElement> audioSource_;
  std::unique_ptr<Pipeline> pipeline_;  // destroyed first: its threads use the rest
};

}  // namespace NimboEngine
