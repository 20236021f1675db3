#include "media/frame_mailbox.h"

namespace NimboEngine {

void FrameMailbox::put(GstBuffer* frame) {
  GstPtr<GstBuffer> replaced = share(frame);  // released after the lock: may return to a pool
  const MutexLock lock(mutex_);
  if (frozen_) return;
  frame_.swap(replaced);
  ++count_;
}

GstPtr<GstBuffer> FrameMailbox::latest() const {
  const MutexLock lock(mutex_);
  return frame_ ? share(frame_.get()) : nullptr;
}

void FrameMailbox::freeze() {
  const MutexLock lock(mutex_);
  if (!frozen_ && frame_) frame_.reset(gst_buffer_copy_deep(frame_.get()));
  frozen_ = true;
}

uint64_t FrameMailbox::count() const {
  const MutexLock lock(mutex_);
  return count_;
}

}  // namespace NimboEngine
