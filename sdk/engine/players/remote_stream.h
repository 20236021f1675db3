// One player's output, for the mixes that use it: the newest video frame, and the audio of the
// moment.
//
// Thread: any; frames on one thread at a time, audio on one.
// Ownership: shared between the player that fills it and the mixes that read it. Keeps a reference
//   to one frame, which is never written to.
// Failure: none.

#pragma once

#include <gst/video/video.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "base/mutex.h"
#include "gst/gst_ptr.h"
#include "media/audio_aligner.h"
#include "players/audio_timeline.h"

namespace NimboEngine {

class RemoteStream {
 public:
  struct Frame {
    GstPtr<GstBuffer> buffer;
    GstVideoInfo info;
  };

  // The producer side, called by the player: I420 frames at their presentation time, audio ahead of
  // it.
  void putFrame(GstBuffer* frame, const GstVideoInfo& info);
  void putAudio(const AudioAligner::Piece& piece) { audio_.put(piece.samples, piece.moment); }

  // Playback has ended: no frame, silence.
  void clear();

  // None before the first frame.
  std::optional<Frame> frame() const;

  // Fills `out` with the audio presented from `moment` on, silence where there is none.
  void audioAt(AudioTimeline::Time moment, std::span<int16_t> out) const {
    audio_.read(moment, out);
  }

 private:
  mutable Mutex mutex_;
  std::optional<Frame> frame_ NIMBO_GUARDED_BY(mutex_);
  AudioTimeline audio_;
};

}  // namespace NimboEngine
