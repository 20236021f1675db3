// The newest frame of one source: the source stores frames, the video tick reads the last.
//
// Thread: any.
// Ownership: holds a reference to one buffer, which is never written to.
// Failure: none.

#pragma once

#include <cstdint>

#include "base/mutex.h"
#include "gst/gst_ptr.h"

namespace NimboEngine {

class FrameMailbox {
 public:
  // Replaces the frame; `frame` stays the caller's.
  void put(GstBuffer* frame);

  // Null before the first frame.
  GstPtr<GstBuffer> latest() const;

  // Ends the updates: the last frame stays, as a copy that holds no memory of its device, and later
  // ones are ignored.
  void freeze();

  // The number of frames stored so far.
  uint64_t count() const;

 private:
  mutable Mutex mutex_;
  GstPtr<GstBuffer> frame_ NIMBO_GUARDED_BY(mutex_);
  uint64_t count_ NIMBO_GUARDED_BY(mutex_) = 0;
  bool frozen_ NIMBO_GUARDED_BY(mutex_) = false;
};

}  // namespace NimboEngine
