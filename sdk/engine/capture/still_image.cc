#include "capture/still_image.h"

#include <fmt/format.h>

#include <utility>

#include "base/log.h"
#include "media/frame_converter.h"
#include "media/frame_pool.h"

namespace NimboEngine {
namespace {

constexpr uint8_t kDarkGrey = 60;

GstPtr<GstBuffer> plain(const VideoFormat& format) {
  FramePool pool(format);
  GstPtr<GstBuffer> frame = pool.acquire();
  GstMapInfo map;
  if (!frame || !gst_buffer_map(frame.get(), &map, GST_MAP_WRITE)) return nullptr;
  fillPlain(map.data, pool.info(), kDarkGrey);
  gst_buffer_unmap(frame.get(), &map);
  return frame;
}

Result<GstPtr<GstBuffer>> loadFrame(const std::string& file, const VideoFormat& format) {
  const auto image = decodeImageFile(file);
  if (!image) return tl::unexpected(image.error());
  return fitImage(*image, format);
}

void load(const std::string& file, const VideoFormat& format, FrameMailbox& frames,
          const std::atomic<bool>& stopping) {
  const auto loaded = loadFrame(file, format);
  if (stopping) return;
  if (!loaded) {
    NIMBO_LOG_WARN("the image {} cannot be shown: {}; a grey image takes its place", file,
                   loaded.error().text);
  }
  const GstPtr<GstBuffer> frame = loaded ? share(loaded->get()) : plain(format);
  if (frame) frames.put(frame.get());
}

}  // namespace

Result<GstPtr<GstBuffer>> fitImage(const DecodedImage& image, const VideoFormat& format) {
  FramePool pool(format);
  GstPtr<GstBuffer> frame = pool.acquire();
  if (!frame) return refused("there is no memory for it");
  FrameConverter converter(ViewMode::kFit, GST_VIDEO_RESAMPLER_METHOD_CUBIC);
  if (!converter.convert(image.pixels.get(), image.info, frame.get(), pool.info())) {
    return refused("its pixels cannot be converted");
  }
  return frame;
}

StillImage::StillImage(std::string file, const VideoFormat& format,
                       std::shared_ptr<FrameMailbox> frames)
    : stopping_(std::make_shared<std::atomic<bool>>(false)),
      thread_("image", [stopping = stopping_, file = std::move(file), format,
                        frames = std::move(frames)] { load(file, format, *frames, *stopping); }) {}

StillImage::~StillImage() {
  *stopping_ = true;
}

}  // namespace NimboEngine
