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

#include "capture/frame_consumer.h"
#include "capture/picture_mailbox.h"

namespace NimboEngine {

// Where pictures of one format come from.
struct PictureSource {
  std::shared_ptr<const PictureMailbox> pictures;  // null: none come
  VideoFormat format;
  PictureOrigin origin = PictureOrigin::kCamera;
};

struct ShownPicture {
  GstPtr<GstBuffer> buffer;  // null: black
  VideoFormat format;
  PictureOrigin origin = PictureOrigin::kCamera;
};

// When an image stands in for what is captured; the first that holds decides.
enum class Occasion { kNetworkPoor, kScreenPaused };
inline constexpr size_t kOccasions = 2;

class PictureChoice {
 public:
  // Until a source has a picture, black of that format is shown.
  explicit PictureChoice(const VideoFormat& format);

  void setSource(PictureSource source);
  void setCameraBlack(bool black) { cameraBlack_ = black; }

  // `image` is shown on that occasion, its predecessor until it is there.
  void setImage(Occasion occasion, PictureSource image);
  void setOccasion(Occasion occasion, bool present);

  ShownPicture captured();
  // Its buffer is null when nothing stands in.
  ShownPicture standIn();

 private:
  // What comes from one source after the other.
  struct Stream {
    PictureSource source;
    ShownPicture shown;
    void look();
  };
  struct Image {
    Stream stream;
    bool isDue = false;
  };

  std::atomic<bool> cameraBlack_{false};
  std::mutex mutex_;
  Stream captured_;
  std::array<Image, kOccasions> images_;
};

}  // namespace NimboEngine
