#include "mix/video_mix.h"

#include <array>
#include <cmath>
#include <cstring>

namespace NimboEngine {
namespace {

// Returns Y, U and V of an RGB colour, in the colorimetry of `info`.
std::array<int, 3> yuvOf(uint32_t rgb, const GstVideoInfo& info) {
  const auto part = [rgb](int shift) { return static_cast<double>(rgb >> shift & 0xff) / 255; };
  const double red = part(16);
  const double blue = part(0);
  double redShare = 0;
  double blueShare = 0;
  gst_video_color_matrix_get_Kr_Kb(info.colorimetry.matrix, &redShare, &blueShare);
  const double luma = redShare * red + (1 - redShare - blueShare) * part(8) + blueShare * blue;
  const std::array<double, 3> exact{luma, (blue - luma) / (1 - blueShare) / 2,
                                    (red - luma) / (1 - redShare) / 2};
  std::array<gint, GST_VIDEO_MAX_COMPONENTS> offset{};
  std::array<gint, GST_VIDEO_MAX_COMPONENTS> scale{};
  gst_video_color_range_offsets(info.colorimetry.range, info.finfo, offset.data(), scale.data());
  std::array<int, 3> coded{};
  for (std::size_t i = 0; i < coded.size(); ++i) {
    coded[i] = offset[i] + static_cast<int>(std::lround(exact[i] * scale[i]));
  }
  return coded;
}

}  // namespace

void VideoMix::setFormat(const VideoFormat& format) {
  pool_ = std::make_unique<FramePool>(format);
}

void VideoMix::setLayout(const MixLayout& layout) {
  background_ = layout.background;
  places_.clear();
  converters_.clear();
  for (const MixPlace& place : layout.places) {
    places_.push_back(place.rect);
    converters_.emplace_back(layout.mode, GST_VIDEO_RESAMPLER_METHOD_LINEAR);
  }
}

GstPtr<GstBuffer> VideoMix::draw(const std::vector<std::optional<RemoteStream::Frame>>& frames) {
  GstPtr<GstBuffer> canvas = pool_->acquire();
  if (!canvas) return nullptr;
  fillBackground(canvas.get());
  for (std::size_t i = 0; i < places_.size(); ++i) {
    if (!frames[i]) continue;
    converters_[i].draw(frames[i]->buffer.get(), frames[i]->info, canvas.get(), info(), places_[i]);
  }
  return canvas;
}

void VideoMix::fillBackground(GstBuffer* canvas) const {
  GstVideoInfo layout = info();
  GstVideoFrame frame;
  if (!gst_video_frame_map(&frame, &layout, canvas, GST_MAP_WRITE)) return;
  const std::array<int, 3> colour = yuvOf(background_, layout);
  for (int plane = 0; plane < 3; ++plane) {
    std::memset(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane), colour[static_cast<std::size_t>(plane)],
                static_cast<std::size_t>(GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane)) *
                    static_cast<std::size_t>(GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane)));
  }
  gst_video_frame_unmap(&frame);
}

}  // namespace NimboEngine
