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
  GstPtr<GstBuffer> picture = pool.acquire();
  FrameConverter converter(ViewMode::kFit, GST_VIDEO_RESAMPLER_METHOD_CUBIC);
  if (!picture || !converter.convert(image.pixels.get(), image.info, picture.get(), pool.info())) {
    return nullptr;
  }
  return picture;
}

GstPtr<GstBuffer> plain(const VideoFormat& format) {
  FramePool pool(format);
  GstPtr<GstBuffer> picture = pool.acquire();
  GstMapInfo map;
  if (!picture || !gst_buffer_map(picture.get(), &map, GST_MAP_WRITE)) return nullptr;
  fillPlain(map.data, pool.info(), kDarkGrey);
  gst_buffer_unmap(picture.get(), &map);
  return picture;
}

void load(const std::string& file, const VideoFormat& format, FrameMailbox& pictures,
          const std::atomic<bool>& stopping) {
  std::string problem = "there is no memory for it";
  const DecodedImage image = decodeImageFile(file, problem);
  GstPtr<GstBuffer> picture = image.pixels ? fitted(image, format) : nullptr;
  if (stopping) return;
  if (!picture) {
    NIMBO_LOG_WARN("the image {} cannot be shown: {}; a grey picture takes its place", file,
                   problem);
    picture = plain(format);
  }
  if (picture) pictures.put(picture.get());
}

}  // namespace

StillImage::StillImage(std::string file, const VideoFormat& format,
                       std::shared_ptr<FrameMailbox> pictures)
    : stopping_(std::make_shared<std::atomic<bool>>(false)),
      thread_("image",
              [stopping = stopping_, file = std::move(file), format,
               pictures = std::move(pictures)] { load(file, format, *pictures, *stopping); }) {}

StillImage::~StillImage() {
  *stopping_ = true;
}

}  // namespace NimboEngine
