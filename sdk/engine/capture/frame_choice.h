// Selects the frame of a video tick.
//
//   captured frame, which the frame callback gets
//     the camera is muted                                    black
//     otherwise                                              the source's newest frame; until its
//                                                            first, its predecessor's last; black
//                                                            before the very first
//   placeholder, which the consumers get instead
//     the network is poor, and there is an image for that    that image
//     the screen is paused, and there is an image for that   that image
//     otherwise                                              none
//
// Thread: the setters on any thread, the getters on one.
// Ownership: shares the mailboxes and the frames.
// Failure: none.

#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>

#include "base/mutex.h"
#include "media/frame_consumer.h"
#include "media/frame_mailbox.h"

namespace NimboEngine {

// A source of frames of one format.
struct FrameSource {
  std::shared_ptr<const FrameMailbox> frames;  // null: no frames
  VideoFormat format;
  FrameOrigin origin = FrameOrigin::kCamera;
};

struct ShownFrame {
  GstPtr<GstBuffer> buffer;  // null: black
  VideoFormat format;
  FrameOrigin origin = FrameOrigin::kCamera;
};

// The conditions under which an image replaces the captured frame; the first that holds decides.
enum class Placeholder { kNetworkPoor, kScreenPaused };
inline constexpr size_t kPlaceholders = 2;

class FrameChoice {
 public:
  // Until a source has delivered a frame, black of that format is shown.
  explicit FrameChoice(const VideoFormat& format);

  void setSource(FrameSource source);
  void setCameraBlack(bool black) { cameraBlack_ = black; }

  // Sets the image for that condition; its predecessor is shown until it is decoded.
  void setImage(Placeholder kind, FrameSource image);
  void showPlaceholder(Placeholder kind, bool present);

  ShownFrame captured();
  // Returns a null buffer if no placeholder is to be shown.
  ShownFrame placeholder();

 private:
  // The frames of successive sources.
  struct Stream {
    FrameSource source;
    ShownFrame shown;
    void poll();
  };
  struct Image {
    Stream stream;
    bool isDue = false;
  };

  std::atomic<bool> cameraBlack_{false};
  Mutex mutex_;
  Stream captured_ NIMBO_GUARDED_BY(mutex_);
  std::array<Image, kPlaceholders> images_ NIMBO_GUARDED_BY(mutex_);
};

}  // namespace NimboEngine
