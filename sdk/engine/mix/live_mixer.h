// The stage between capture and publisher: passes the captured media on unchanged or, with a
// layout, the mix in their place. The preview still shows only the captured media.
//
// Thread: the consumer's side on the capture threads, the rest on any other.
// Ownership: the consumer behind it is given and outlives it. Shares the streams of its layout.
// Failure: a frame for which there is no memory is dropped.

#pragma once

#include <mutex>
#include <optional>

#include "media/frame_consumer.h"
#include "mix/audio_mix.h"
#include "mix/mix_layout.h"
#include "mix/video_mix.h"

namespace NimboEngine {

class LiveMixer final : public FrameConsumer {
 public:
  // `format` is that of the published frames, in whose pixels a layout is given.
  LiveMixer(FrameConsumer& behind, const VideoFormat& format);

  void setFormat(const VideoFormat& format);

  // None: no mix. Takes effect on all media passed on after it has returned.
  void setLayout(std::optional<MixLayout> layout);

  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) override;
  void onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) override;

 private:
  FrameConsumer& behind_;
  // Each is held while its medium is mixed; the layout is changed with both held.
  std::mutex videoMutex_;
  std::mutex audioMutex_;
  std::optional<MixLayout> layout_;
  VideoMix videoMix_;
  AudioMix audioMix_;
};

}  // namespace NimboEngine
