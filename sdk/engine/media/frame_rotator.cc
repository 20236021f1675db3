#include "media/frame_rotator.h"

#include <cstdint>
#include <utility>

namespace NimboEngine {
namespace {

// Reads a plane in the order in which the rotated one is written: `x` and `y` are the distances in
// bytes between neighbours along its rows and columns.
struct Walk {
  const uint8_t* start;
  ptrdiff_t x;
  ptrdiff_t y;
};

Walk walkOf(const GstVideoFrame& frame, int plane, const ViewStyle& style) {
  const auto* data = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
  const ptrdiff_t stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
  const ptrdiff_t right = GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane) - 1;
  const ptrdiff_t bottom = (GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane) - 1) * stride;
  const Walk walks[] = {{data, 1, stride},
                        {data + bottom, -stride, 1},
                        {data + bottom + right, -1, -stride},
                        {data + right, stride, -1}};
  Walk walk = walks[style.quarterTurns];
  if (style.mirror) {
    const bool swapped = style.quarterTurns % 2 != 0;
    const int length = swapped ? GST_VIDEO_FRAME_COMP_HEIGHT(&frame, plane)
                               : GST_VIDEO_FRAME_COMP_WIDTH(&frame, plane);
    walk.start += (length - 1) * walk.x;
    walk.x = -walk.x;
  }
  return walk;
}

void turnPlane(const GstVideoFrame& from, const GstVideoFrame& to, int plane,
               const ViewStyle& style) {
  const Walk walk = walkOf(from, plane, style);
  const int width = GST_VIDEO_FRAME_COMP_WIDTH(&to, plane);
  for (int y = 0; y < GST_VIDEO_FRAME_COMP_HEIGHT(&to, plane); ++y) {
    auto* row = static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&to, plane)) +
                static_cast<ptrdiff_t>(y) * GST_VIDEO_FRAME_PLANE_STRIDE(&to, plane);
    const uint8_t* source = walk.start + y * walk.y;
    for (int x = 0; x < width; ++x, source += walk.x) row[x] = *source;
  }
}

}  // namespace

GstBuffer* FrameRotator::turn(GstBuffer* frame, const GstVideoInfo& info, const ViewStyle& style) {
  if (!prepare(info, style)) return nullptr;
  GstVideoInfo layout = info;
  GstVideoFrame source;
  if (!gst_video_frame_map(&source, &layout, frame, GST_MAP_READ)) return nullptr;
  GstVideoFrame target;
  const bool mapped = gst_video_frame_map(&target, &info_, turned_.get(), GST_MAP_WRITE);
  if (mapped) {
    for (int plane = 0; plane < 3; ++plane) turnPlane(source, target, plane, style);
    gst_video_frame_unmap(&target);
  }
  gst_video_frame_unmap(&source);
  return mapped ? turned_.get() : nullptr;
}

bool FrameRotator::prepare(const GstVideoInfo& info, const ViewStyle& style) {
  if (GST_VIDEO_INFO_FORMAT(&info) != GST_VIDEO_FORMAT_I420) return false;
  Size size{info.width, info.height};
  if (style.quarterTurns % 2 != 0) std::swap(size.width, size.height);
  if (turned_ && size == Size{info_.width, info_.height}) return true;
  gst_video_info_set_format(&info_, GST_VIDEO_FORMAT_I420, static_cast<guint>(size.width),
                            static_cast<guint>(size.height));
  info_.fps_n = info.fps_n;
  info_.fps_d = info.fps_d;
  info_.colorimetry = info.colorimetry;
  turned_.reset(gst_buffer_new_allocate(nullptr, info_.size, nullptr));
  return turned_ != nullptr;
}

}  // namespace NimboEngine
