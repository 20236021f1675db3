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
  std::lock_guard lock(mutex_);
  captured_.source = std::move(source);
}

void FrameChoice::setImage(Placeholder occasion, FrameSource image) {
  std::lock_guard lock(mutex_);
  images_.at(static_cast<size_t>(occasion)).stream.source = std::move(image);
}

void FrameChoice::showPlaceholder(Placeholder occasion, bool present) {
  std::lock_guard lock(mutex_);
  images_.at(static_cast<size_t>(occasion)).isDue = present;
}

ShownFrame FrameChoice::captured() {
  std::lock_guard lock(mutex_);
  captured_.look();
  ShownFrame shown = copy(captured_.shown);
  if (cameraBlack_ && shown.origin == FrameOrigin::kCamera) shown.buffer.reset();
  return shown;
}

ShownFrame FrameChoice::placeholder() {
  std::lock_guard lock(mutex_);
  for (Image& image : images_) {
    image.stream.look();
    if (image.isDue && image.stream.shown.buffer) return copy(image.stream.shown);
  }
  return {};
}

void FrameChoice::Stream::look() {
  GstPtr<GstBuffer> latest = source.pictures ? source.pictures->latest() : nullptr;
  if (latest) shown = {std::move(latest), source.format, source.origin};
}

}  // namespace NimboEngine
