// The newest picture of one source: the source puts pictures in, the video tick looks at the last.
//
// Thread: any.
// Ownership: holds a reference to one buffer, which nobody writes to.
// Failure: none.

#pragma once

#include <cstdint>
#include <mutex>

#include "gst/gst_ptr.h"

namespace NimboEngine {

class FrameMailbox {
 public:
  // Replaces the picture; `frame` stays the caller's.
  void put(GstBuffer* frame);

  // Null as long as there was none.
  GstPtr<GstBuffer> latest() const;

  // Ends the deliveries: the last picture stays, as a copy that holds no memory of the device it
  // came from, and later ones are ignored.
  void freeze();

  // How many pictures came.
  uint64_t count() const;

 private:
  mutable std::mutex mutex_;
  GstPtr<GstBuffer> frame_;
  uint64_t count_ = 0;
  bool frozen_ = false;
};

}  // namespace NimboEngine
