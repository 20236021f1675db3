#include "capture/picture_choice.h"

#include <utility>

namespace NimboEngine {
namespace {

ShownPicture copy(const ShownPicture& shown) {
  return {shown.buffer ? share(shown.buffer.get()) : nullptr, shown.format, shown.origin};
}

}  // namespace

PictureChoice::PictureChoice(const VideoFormat& format) {
  captured_.shown.format = format;
}

void PictureChoice::setSource(PictureSource source) {
  std::lock_guard lock(mutex_);
  captured_.source = std::move(source);
}

void PictureChoice::setImage(Occasion occasion, PictureSource image) {
  std::lock_guard lock(mutex_);
  images_.at(static_cast<size_t>(occasion)).stream.source = std::move(image);
}

void PictureChoice::setOccasion(Occasion occasion, bool present) {
  std::lock_guard lock(mutex_);
  images_.at(static_cast<size_t>(occasion)).isDue = present;
}

ShownPicture PictureChoice::captured() {
  std::lock_guard lock(mutex_);
  captured_.look();
  ShownPicture shown = copy(captured_.shown);
  if (cameraBlack_ && shown.origin == PictureOrigin::kCamera) shown.buffer.reset();
  return shown;
}

ShownPicture PictureChoice::standIn() {
  std::lock_guard lock(mutex_);
  for (Image& image : images_) {
    image.stream.look();
    if (image.isDue && image.stream.shown.buffer) return copy(image.stream.shown);
  }
  return {};
}

void PictureChoice::Stream::look() {
  GstPtr<GstBuffer> latest = source.pictures ? source.pictures->latest() : nullptr;
  if (latest) shown = {std::move(latest), source.format, source.origin};
}

}  // namespace NimboEngine
