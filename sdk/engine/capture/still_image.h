// An image file as a frame of the captured format: scaled, with black borders if the aspect ratios
// differ, and black behind transparent parts.
//
// PNG and JPEG of 32 MB and 40 million pixels at most; orientation tags are ignored. A file that
// cannot be used is logged, and a dark grey image takes its place.
//
// Thread: any. The file is read and decoded on a thread of its own, a few seconds at most.
// Ownership: shares the mailbox, which gets the single frame. Destruction waits a sixth of a second
//   at most.
// Failure: see above. GStreamer must have been started.

#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "base/detachable_thread.h"
#include "base/result.h"
#include "capture/image_file.h"
#include "media/frame_consumer.h"
#include "media/frame_mailbox.h"

namespace NimboEngine {

// `image` in a frame of that format, as described above.
Result<GstPtr<GstBuffer>> fitImage(const DecodedImage& image, const VideoFormat& format);

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
