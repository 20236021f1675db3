// Where a playback's pipeline delivers. The pipeline shares the outlets: one that cannot be stopped
// any more keeps delivering into closed ones and harms nobody.
//
// Thread: deliver on GStreamer's threads, pictures on one and sound on one; close on any other.
// Ownership: the handlers belong to the outlets; once close() has returned, none runs or will run.
// Failure: a picture that cannot be read is left out.

#pragma once

#include <gst/gst.h>
#include <gst/video/video.h>

#include <atomic>
#include <functional>
#include <memory>

#include "NimboSdk/LumoLiveDefine.h"
#include "base/listener_slot.h"
#include "capture/frame_consumer.h"
#include "capture/frame_pool.h"
#include "play/play_meter.h"

namespace NimboEngine {

// The shape in which sound is delivered.
inline constexpr AudioFormat kPlayedSound{48000, 2};

class PlayOutlets {
 public:
  struct Handlers {
    // I420 in one piece, the planes directly behind each other; writable.
    std::function<void(GstBuffer*, const GstVideoInfo&)> onPicture;
    // Interleaved samples, writable. `count` counts samples, not frames.
    std::function<void(int16_t* samples, std::size_t count)> onSound;
  };

  explicit PlayOutlets(Handlers handlers);
  ~PlayOutlets();
  PlayOutlets(const PlayOutlets&) = delete;
  PlayOutlets& operator=(const PlayOutlets&) = delete;

  void deliverPicture(GstSample* sample);
  void deliverSound(GstBuffer* buffer);
  void close();

  // kLumoLivePlayModeNone until the pipeline knows what it plays.
  std::atomic<LumoRtc::LumoLivePlayMode> mode{LumoRtc::kLumoLivePlayModeNone};
  // Whether a server has said anything.
  std::atomic<bool> answered{false};
  PlayMeter meter;

 private:
  bool adopt(GstCaps* caps);
  bool isUsable(GstBuffer* buffer) const;
  GstPtr<GstBuffer> inOnePiece(GstBuffer* buffer);

  Handlers handlers_;
  ListenerSlot<Handlers> slot_;

  // Used by deliverPicture only.
  GstPtr<GstCaps> caps_;
  GstVideoInfo info_{};     // as the pictures come
  GstVideoInfo ownInfo_{};  // as they are handed on
  bool comesInOnePiece_ = false;
  std::unique_ptr<FramePool> pool_;
};

}  // namespace NimboEngine
