// What one player plays, for whoever mixes it: the newest picture, and the sound of the last
// moment.
//
// Thread: any; pictures on one thread at a time, sound on one.
// Ownership: shared between the player that fills it and the mixes that look at it. Keeps a
//   reference to one picture, which nobody writes to.
// Failure: none.

#pragma once

#include <gst/video/video.h>

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>

#include "capture/sample_fifo.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

class RemoteStream {
 public:
  struct Picture {
    GstPtr<GstBuffer> buffer;
    GstVideoInfo info;
  };

  RemoteStream();

  // The player's side: I420 pictures, and `count` interleaved samples as kPlayedSound says.
  void putPicture(GstBuffer* picture, const GstVideoInfo& info);
  void putSound(const int16_t* samples, std::size_t count);

  // Nothing plays any more: no picture, silence.
  void clear();

  // None before the first picture.
  std::optional<Picture> picture() const;

  // As SampleFifo::pull.
  std::size_t pullSound(int16_t* out, std::size_t frames) { return sound_.pull(out, frames); }

  // What has come so far is not heard.
  void skipSound() { sound_.clear(); }

 private:
  mutable std::mutex mutex_;
  std::optional<Picture> picture_;
  SampleFifo sound_;
};

}  // namespace NimboEngine
