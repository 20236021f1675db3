// The stage between capture and publisher: passes the captured media on unchanged or, with a
// layout, the mix in their place. The preview still shows only the captured media.
//
// Thread: the consumer's side on the capture threads, the rest on any other.
// Ownership: the sinks are the caller's. Shares the streams of its layout.
// Failure: a frame for which there is no memory is dropped.

#pragma once

#include <optional>

#include "base/mutex.h"
#include "base/sink_list.h"
#include "media/frame_consumer.h"
#include "mix/audio_mix.h"
#include "mix/mix_layout.h"
#include "mix/video_mix.h"

namespace NimboEngine {

class LiveMixer final : public FrameConsumer {
 public:
  // `format` is that of the published frames, in whose pixels a layout is given.
  explicit LiveMixer(const VideoFormat& format);

  // The receivers of the published media. removeSink() blocks until a running call has returned.
  void addSink(FrameConsumer* sink) { sinks_.add(sink); }
  void removeSink(FrameConsumer* sink) { sinks_.remove(sink); }

  void setFormat(const VideoFormat& format);

  // None: no mix. Takes effect on all media passed on after it has returned.
  void setLayout(std::optional<MixLayout> layout);

  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) override;
  void onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) override;

 private:
  void deliverVideo(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time);
  void deliverAudio(GstBuffer* buffer, const AudioFormat& format, GstClockTime time);

  SinkList<FrameConsumer> sinks_;
  // Each is held while its medium is mixed; the layout is changed with both held.
  Mutex videoMutex_;
  Mutex audioMutex_;
  std::optional<MixLayout> layout_;
  VideoMix videoMix_ NIMBO_GUARDED_BY(videoMutex_);
  AudioMix audioMix_ NIMBO_GUARDED_BY(audioMutex_);
};

}  // namespace NimboEngine
