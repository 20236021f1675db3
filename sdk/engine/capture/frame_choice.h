// Which picture a tick shows.
//
//   what is captured, which the frame callback gets
//     the camera, muted                                      black
//     otherwise                                              the source's newest picture; its
//                                                            predecessor's last until it has one;
//                                                            black before the first
//   what stands in for it, which the consumers get instead
//     the network is poor, and there is an image for that    that image
//     the screen is paused, and there is an image for that   that image
//     otherwise                                              nothing
//
// Thread: the setters on any thread, the looks on one.
// Ownership: shares the mailboxes and the pictures.
// Failure: none.

#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>

#include "media/frame_consumer.h"
#include "media/frame_mailbox.h"

namespace NimboEngine {

// Where pictures of one format come from.
struct FrameSource {
  std::shared_ptr<const FrameMailbox> frames;  // null: none come
  VideoFormat format;
  FrameOrigin origin = FrameOrigin::kCamera;
};

struct ShownFrame {
  GstPtr<GstBuffer> buffer;  // null: black
  VideoFormat format;
  FrameOrigin origin = FrameOrigin::kCamera;
};

// When an image stands in for what is captured; the first that holds decides.
enum class Placeholder { kNetworkPoor, kScreenPaused };
inline constexpr size_t kPlaceholders = 2;

class FrameChoice {
 public:
  // Until a source has a picture, black of that format is shown.
  explicit FrameChoice(const VideoFormat& format);

  void setSource(FrameSource source);
  void setCameraBlack(bool black) { cameraBlack_ = black; }

  // `image` is shown on that occasion, its predecessor until it is there.
  void setImage(Placeholder kind, FrameSource image);
  void showPlaceholder(Placeholder kind, bool present);

  ShownFrame captured();
  // Its buffer is null when nothing stands in.
  ShownFrame placeholder();

 private:
  // What comes from one source after the other.
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
  std::mutex mutex_;
  Stream captured_;
  std::array<Image, kPlaceholders> images_;
};

}  // namespace NimboEngine
