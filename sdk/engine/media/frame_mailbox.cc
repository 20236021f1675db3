#include "media/frame_mailbox.h"

namespace NimboEngine {

void FrameMailbox::put(GstBuffer* picture) {
  GstPtr<GstBuffer> replaced = share(picture);  // released after the lock: may return to a pool
  std::lock_guard lock(mutex_);
  if (frozen_) return;
  picture_.swap(replaced);
  ++count_;
}

GstPtr<GstBuffer> FrameMailbox::latest() const {
  std::lock_guard lock(mutex_);
  return picture_ ? share(picture_.get()) : nullptr;
}

void FrameMailbox::freeze() {
  std::lock_guard lock(mutex_);
  if (!frozen_ && picture_) picture_.reset(gst_buffer_copy_deep(picture_.get()));
  frozen_ = true;
}

uint64_t FrameMailbox::count() const {
  std::lock_guard lock(mutex_);
  return count_;
}

}  // namespace NimboEngine
