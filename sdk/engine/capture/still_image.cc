#include "capture/still_image.h"

#include <fmt/format.h>

#include <utility>

#include "base/log.h"
#include "capture/image_file.h"
#include "media/frame_converter.h"
#include "media/frame_pool.h"

namespace NimboEngine {
namespace {

constexpr uint8_t kDarkGrey = 60;

GstPtr<GstBuffer> fitted(const DecodedImage& image, const VideoFormat& format) {
  FramePool pool(format);
  GstPtr<GstBuffer> frame = pool.acquire();
  FrameConverter converter(ViewMode::kFit, GST_VIDEO_RESAMPLER_METHOD_CUBIC);
  if (!frame || !converter.convert(image.pixels.get(), image.info, frame.get(), pool.info())) {
    return nullptr;
  }
  return frame;
}

GstPtr<GstBuffer> plain(const VideoFormat& format) {
  FramePool pool(format);
  GstPtr<GstBuffer> frame = pool.acquire();
  GstMapInfo map;
  if (!frame || !gst_buffer_map(frame.get(), &map, GST_MAP_WRITE)) return nullptr;
  fillPlain(map.data, pool.info(), kDarkGrey);
  gst_buffer_unmap(frame.get(), &map);
  return frame;
}

void load(const std::string& file, const VideoFormat& format, FrameMailbox& frames,
          const std::atomic<bool>& stopping) {
  std::string error = "there is no memory for it";
  const DecodedImage image = decodeImageFile(file, error);
  GstPtr<GstBuffer> frame = image.pixels ? fitted(image, format) : nullptr;
  if (stopping) return;
  if (!frame) {
    NIMBO_LOG_WARN("the image {} cannot be shown: {}; a grey image takes its place", file, error);
    frame = plain(format);
  }
  if (frame) frames.put(frame.get());
}

}  // namespace

StillImage::StillImage(std::string file, const VideoFormat& format,
                       std::shared_ptr<FrameMailbox> frames)
    : stopping_(std::make_shared<std::atomic<bool>>(false)),
      thread_("image", [stopping = stopping_, file = std::move(file), format,
                        frames = std::move(frames)] { load(file, format, *frames, *stopping); }) {}

StillImage::~StillImage() {
  *stopping_ = true;
}

}  // namespace NimboEngine
