// Stands between capture and what is published: passes the captured media on as they are or, with a
// layout, the mix in their place. Who captured them goes on seeing only what was captured.
//
// Thread: the consumer's side on the capture threads, the rest on any other.
// Ownership: the consumer behind it is given and outlives it. Shares the streams of its layout.
// Failure: a picture without memory is left out.

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
  // `format` is that of the published picture, in whose pixels a layout is given.
  LiveMixer(FrameConsumer& behind, const VideoFormat& format);

  void setFormat(const VideoFormat& format);

  // None: no mix. Everything that is passed on once it has returned follows the layout.
  void setLayout(std::optional<MixLayout> layout);

  void onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime time) override;
  void onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) override;

 private:
  FrameConsumer& behind_;
  // Each is held while one medium is mixed; the layout changes under both.
  std::mutex videoMutex_;
  std::mutex audioMutex_;
  std::optional<MixLayout> layout_;
  VideoMix videoMix_;
  AudioMix audioMix_;
};

}  // namespace NimboEngine
