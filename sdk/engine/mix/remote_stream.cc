#include "mix/remote_stream.h"

#include <utility>

#include "play/play_outlets.h"

namespace NimboEngine {
namespace {

constexpr std::size_t kChannels = kPlayedSound.channels;
constexpr std::size_t kFramesPerMs = kPlayedSound.rate / 1000;
// How much sound gathers before it is heard, for an uneven network, and the longest that it waits.
constexpr std::size_t kCushionMs = 60;
constexpr std::size_t kLimitMs = 240;

}  // namespace

RemoteStream::RemoteStream()
    : sound_(kChannels, kCushionMs * kFramesPerMs, kLimitMs * kFramesPerMs) {}

void RemoteStream::putPicture(GstBuffer* picture, const GstVideoInfo& info) {
  std::optional<Picture> replaced(Picture{share(picture), info});  // released after the lock
  std::lock_guard lock(mutex_);
  picture_.swap(replaced);
}

void RemoteStream::putSound(const int16_t* samples, std::size_t count) {
  sound_.push(samples, count / kChannels);
}

void RemoteStream::clear() {
  sound_.clear();
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
