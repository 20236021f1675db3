#include "players/remote_stream.h"

#include <utility>

namespace NimboEngine {

void RemoteStream::putFrame(GstBuffer* frame, const GstVideoInfo& info) {
  std::optional<Frame> replaced(Frame{share(frame), info});  // released after the lock
  const MutexLock lock(mutex_);
  frame_.swap(replaced);
}

void RemoteStream::clear() {
  audio_.clear();
  std::optional<Frame> last;
  const MutexLock lock(mutex_);
  frame_.swap(last);
}

std::optional<RemoteStream::Frame> RemoteStream::frame() const {
  const MutexLock lock(mutex_);
  if (!frame_) return std::nullopt;
  return Frame{share(frame_->buffer.get()), frame_->info};
}

}  // namespace NimboEngine
