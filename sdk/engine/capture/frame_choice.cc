#include "capture/frame_choice.h"

#include <utility>

namespace NimboEngine {
namespace {

ShownFrame copy(const ShownFrame& shown) {
  return {shown.buffer ? share(shown.buffer.get()) : nullptr, shown.format, shown.origin};
}

}  // namespace

FrameChoice::FrameChoice(const VideoFormat& format) {
  captured_.shown.format = format;
}

void FrameChoice::setSource(FrameSource source) {
  const MutexLock lock(mutex_);
  captured_.source = std::move(source);
}

void FrameChoice::setImage(Placeholder kind, FrameSource image) {
  const MutexLock lock(mutex_);
  images_.at(static_cast<size_t>(kind)).stream.source = std::move(image);
}

void FrameChoice::showPlaceholder(Placeholder kind, bool present) {
  const MutexLock lock(mutex_);
  images_.at(static_cast<size_t>(kind)).isDue = present;
}

ShownFrame FrameChoice::captured() {
  const MutexLock lock(mutex_);
  captured_.poll();
  ShownFrame shown = copy(captured_.shown);
  if (cameraBlack_ && shown.origin == FrameOrigin::kCamera) shown.buffer.reset();
  return shown;
}

ShownFrame FrameChoice::placeholder() {
  const MutexLock lock(mutex_);
  for (Image& image : images_) {
    image.stream.poll();
    if (image.isDue && image.stream.shown.buffer) return copy(image.stream.shown);
  }
  return {};
}

void FrameChoice::Stream::poll() {
  GstPtr<GstBuffer> latest = source.frames ? source.frames->latest() : nullptr;
  if (latest) shown = {std::move(latest), source.format, source.origin};
}

}  // namespace NimboEngine
