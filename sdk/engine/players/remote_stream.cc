#include "players/remote_stream.h"

#include <utility>

namespace NimboEngine {

void RemoteStream::putPicture(GstBuffer* picture, const GstVideoInfo& info) {
  std::optional<Picture> replaced(Picture{share(picture), info});  // released after the lock
  std::lock_guard lock(mutex_);
  picture_.swap(replaced);
}

void RemoteStream::clear() {
  audio_.clear();
  std::optional<Picture> last;
  std::lock_guard lock(mutex_);
  picture_.swap(last);
}

std::optional<RemoteStream::Picture> RemoteStream::picture() const {
  std::lock_guard lock(mutex_);
  if (!picture_) return std::nullopt;
  return Picture{share(picture_->buffer.get()), picture_->info};
}

}  // namespace NimboEngine
