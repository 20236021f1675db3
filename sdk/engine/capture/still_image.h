// An image file as a picture of the captured format: scaled, black around it where the shapes
// differ and behind it where it is transparent.
//
// PNG and JPEG of 32 MB and 40 million pixels at most; notes on how a photograph is to be turned
// are ignored. A file that cannot be used is named in the log, and a dark grey picture takes its
// place.
//
// Thread: any. The file is read and decoded on a thread of its own, a few seconds at most.
// Ownership: shares the mailbox, which gets the one picture. Destruction waits a sixth of a second
//   at most.
// Failure: see above. GStreamer must have been started.

#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "base/detachable_thread.h"
#include "media/frame_consumer.h"
#include "media/frame_mailbox.h"

namespace NimboEngine {

class StillImage {
 public:
  StillImage(std::string file, const VideoFormat& format, std::shared_ptr<FrameMailbox> frames);
  ~StillImage();
  StillImage(const StillImage&) = delete;
  StillImage& operator=(const StillImage&) = delete;

 private:
  const std::shared_ptr<std::atomic<bool>> stopping_;
  DetachableThread thread_;
};

}  // namespace NimboEngine
