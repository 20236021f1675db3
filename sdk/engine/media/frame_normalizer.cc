#include "media/frame_normalizer.h"

#include <cstdint>
#include <utility>

#include "base/log.h"
#include "media/frame_form.h"

namespace NimboEngine {
namespace {

constexpr int kWidthMultiple = 8;
constexpr int kWidest = 16384;

// A buffer's own description of its layout may contradict the caps.
bool isLike(const GstVideoInfo& info, GstBuffer* buffer) {
  const GstVideoMeta* meta = gst_buffer_get_video_meta(buffer);
  return !meta || (meta->format == GST_VIDEO_INFO_FORMAT(&info) &&
                   meta->width == static_cast<guint>(info.width) &&
                   meta->height == static_cast<guint>(info.height));
}

// A read or write mapping of a frame.
class MappedFrame {
 public:
  MappedFrame(GstBuffer* buffer, const GstVideoInfo& info, GstMapFlags flags)
      : mapped_(isLike(info, buffer) && gst_video_frame_map(&frame, &info, buffer, flags)) {}
  ~MappedFrame() {
    if (mapped_) gst_video_frame_unmap(&frame);
  }
  MappedFrame(const MappedFrame&) = delete;
  MappedFrame& operator=(const MappedFrame&) = delete;

  explicit operator bool() const { return mapped_; }

  GstVideoFrame frame;

 private:
  const bool mapped_;
};

bool isPlanar420(const GstVideoInfo& info) {
  return GST_VIDEO_INFO_FORMAT(&info) == GST_VIDEO_FORMAT_I420 ||
         GST_VIDEO_INFO_FORMAT(&info) == GST_VIDEO_FORMAT_YV12;
}

// GStreamer also replaces the siting if caps of standard definition have no colorimetry.
GstVideoChromaSite namedSiting(GstCaps* caps) {
  const gchar* name = gst_structure_get_string(gst_caps_get_structure(caps, 0), "chroma-site");
  return name ? gst_video_chroma_site_from_string(name) : GST_VIDEO_CHROMA_SITE_UNKNOWN;
}

void fillUnknown(GstVideoInfo& info) {
  GstVideoInfo defaults;
  gst_video_info_set_format(&defaults, GST_VIDEO_INFO_FORMAT(&info), static_cast<guint>(info.width),
                            static_cast<guint>(info.height));
  GstVideoColorimetry& colours = info.colorimetry;
  const bool unknownMatrix = colours.matrix == GST_VIDEO_COLOR_MATRIX_UNKNOWN ||
                             colours.matrix == GST_VIDEO_COLOR_MATRIX_RGB;
  if (unknownMatrix && !GST_VIDEO_INFO_IS_RGB(&info)) colours.matrix = defaults.colorimetry.matrix;
  if (colours.range == GST_VIDEO_COLOR_RANGE_UNKNOWN) colours.range = defaults.colorimetry.range;
  if (info.chroma_site == GST_VIDEO_CHROMA_SITE_UNKNOWN) {
    info.chroma_site = GST_VIDEO_CHROMA_SITE_MPEG2;
  }
}

bool has(const GstVideoInfo& info, GstVideoChromaSite site) {
  return (info.chroma_site & site) != 0;
}

// Siting whose chroma alternates between lines is treated as left.
ChromaSiting sitingOf(const GstVideoInfo& info) {
  return {.betweenColumns = !has(info, GST_VIDEO_CHROMA_SITE_H_COSITED),
          .onUpperRow = has(info, GST_VIDEO_CHROMA_SITE_V_COSITED) &&
                        !has(info, GST_VIDEO_CHROMA_SITE_ALT_LINE)};
}

// Returns the chroma siting after GStreamer's conversion to 4:2:0: in directions that it halves by
// averaging, chroma lies in the middle.
GstVideoChromaSite sitingAs420(const GstVideoInfo& info) {
  if (GST_VIDEO_FORMAT_INFO_W_SUB(info.finfo, 1) == 0) return GST_VIDEO_CHROMA_SITE_NONE;
  if (GST_VIDEO_FORMAT_INFO_H_SUB(info.finfo, 1) != 0) return info.chroma_site;
  return has(info, GST_VIDEO_CHROMA_SITE_H_COSITED) ? GST_VIDEO_CHROMA_SITE_H_COSITED
                                                    : GST_VIDEO_CHROMA_SITE_NONE;
}

// An absurd pixel aspect ratio is ignored.
int squareWidth(const GstVideoInfo& info) {
  const auto width = static_cast<int>(gst_util_uint64_scale_int_round(
      static_cast<guint64>(info.width), info.par_n > 0 ? info.par_n : 1,
      info.par_d > 0 ? info.par_d : 1));
  return width >= 1 && width <= kWidest ? width : info.width;
}

int padded(int width) {
  return (width + kWidthMultiple - 1) / kWidthMultiple * kWidthMultiple;
}

bool hasLayout(GstBuffer* buffer, const GstVideoInfo& source, const GstVideoInfo& wanted) {
  const GstVideoMeta* meta = gst_buffer_get_video_meta(buffer);
  for (guint plane = 0; plane < 3; ++plane) {
    const gsize offset = meta ? meta->offset[plane] : source.offset[plane];
    const gint stride = meta ? meta->stride[plane] : source.stride[plane];
    if (offset != wanted.offset[plane] || stride != wanted.stride[plane]) return false;
  }
  return gst_buffer_get_size(buffer) >= wanted.size;
}

ConstI420 readPlanes(const GstVideoFrame& frame) {
  ConstI420 planes{};
  for (size_t i = 0; i < planes.size(); ++i) {
    planes[i] = {static_cast<const uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, i)),
                 GST_VIDEO_FRAME_COMP_STRIDE(&frame, i)};
  }
  return planes;
}

I420 writePlanes(const GstVideoFrame& frame) {
  I420 planes{};
  for (size_t i = 0; i < planes.size(); ++i) {
    planes[i] = {static_cast<uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, i)),
                 GST_VIDEO_FRAME_COMP_STRIDE(&frame, i)};
  }
  return planes;
}

}  // namespace

std::optional<NormalizedFrame> FrameNormalizer::normalize(GstPtr<GstSample> sample) {
  GstBuffer* lent = sample ? gst_sample_get_buffer(sample.get()) : nullptr;
  GstCaps* caps = sample ? gst_sample_get_caps(sample.get()) : nullptr;
  if (!lent || !caps) return std::nullopt;
  const GstPtr<GstCaps> kept(gst_caps_ref(caps));
  GstPtr<GstBuffer> buffer = share(lent);
  sample.reset();
  return normalize(std::move(buffer), kept.get());
}

std::optional<NormalizedFrame> FrameNormalizer::normalize(GstPtr<GstBuffer> buffer, GstCaps* caps) {
  if (!buffer || !adopt(caps)) return std::nullopt;
  if (!canPassThrough(buffer.get())) {
    GstPtr<GstBuffer> target = pool_->acquire();
    if (!target || !convert(buffer.get(), target.get())) return std::nullopt;
    gst_buffer_copy_into(target.get(), buffer.get(), GST_BUFFER_COPY_TIMESTAMPS, 0,
                         static_cast<gsize>(-1));
    return NormalizedFrame{std::move(target), target_, visibleWidth_, source_.height};
  }
  return NormalizedFrame{std::move(buffer), source_, visibleWidth_, source_.height};
}

bool FrameNormalizer::adopt(GstCaps* caps) {
  if (caps && caps == caps_.get()) return usable_;
  GstVideoInfo info;
  usable_ = caps && gst_video_info_from_caps(&info, caps);
  caps_.reset(caps ? gst_caps_ref(caps) : nullptr);
  if (usable_) {
    info.chroma_site = namedSiting(caps);
    fillUnknown(info);
    source_ = info;
    usable_ = prepare();
  }
  if (!usable_) {
    const GstPtr<gchar> text(caps ? gst_caps_to_string(caps) : g_strdup("none"));
    NIMBO_LOG_WARN("frames of these caps cannot be converted: {}", text.get());
  }
  return usable_;
}

bool FrameNormalizer::prepare() {
  visibleWidth_ = squareWidth(source_);
  const int width = use_ == Use::kWrite ? padded(visibleWidth_) : visibleWidth_;
  target_ = contiguousInfo(width, source_.height);
  target_.fps_n = source_.fps_n;
  target_.fps_d = source_.fps_d;
  pool_ = std::make_unique<FrameBufferPool>(target_);
  converter_.reset();
  formatConverter_.reset();
  between_.reset();

  const auto transform = ColourTransform::between(source_.colorimetry, target_.colorimetry);
  const bool keepsColours = transform == ColourTransform{};
  if (isPlanar420(source_) && visibleWidth_ == source_.width) {
    const ChromaSiting siting = sitingOf(source_);
    isInForm_ =
        keepsColours && siting.isLeft() && GST_VIDEO_INFO_FORMAT(&source_) == GST_VIDEO_FORMAT_I420;
    if (isInForm_) setFrameForm(source_);  // primaries and transfer are labelled, not converted
    converter_.emplace(transform, siting);
    return true;
  }
  isInForm_ = false;
  return prepareFormatConversion();
}

// GStreamer converts the format, and colours only from RGB: where matrices are equal it ignores a
// difference of range.
bool FrameNormalizer::prepareFormatConversion() {
  source_.interlace_mode = GST_VIDEO_INTERLACE_MODE_PROGRESSIVE;
  GstVideoInfo planar = frameInfo(visibleWidth_, source_.height);
  planar.fps_n = source_.fps_n;
  planar.fps_d = source_.fps_d;
  if (!GST_VIDEO_INFO_IS_RGB(&source_)) {
    const auto transform = ColourTransform::between(source_.colorimetry, target_.colorimetry);
    planar.colorimetry = source_.colorimetry;
    planar.chroma_site = sitingAs420(source_);
    const ChromaSiting siting = sitingOf(planar);
    if (transform != ColourTransform{} || !siting.isLeft()) {
      converter_.emplace(transform, siting);
      between_ = std::make_unique<FrameBufferPool>(planar);
    }
  }
  // The converter takes the configuration.
  formatConverter_.reset(gst_video_converter_new(
      &source_, &planar,
      gst_structure_new("normalize", GST_VIDEO_CONVERTER_OPT_THREADS, G_TYPE_UINT, 1U,
                        GST_VIDEO_CONVERTER_OPT_RESAMPLER_METHOD, GST_TYPE_VIDEO_RESAMPLER_METHOD,
                        GST_VIDEO_RESAMPLER_METHOD_LINEAR, nullptr)));
  return formatConverter_ != nullptr;
}

bool FrameNormalizer::canPassThrough(GstBuffer* buffer) const {
  if (!isInForm_) return false;
  if (use_ == Use::kRead) return true;
  return target_.width == visibleWidth_ && gst_buffer_n_memory(buffer) == 1 &&
         gst_buffer_is_writable(buffer) && gst_buffer_is_all_memory_writable(buffer) &&
         hasLayout(buffer, source_, target_);
}

bool FrameNormalizer::convert(GstBuffer* from, GstBuffer* to) {
  MappedFrame source(from, source_, GST_MAP_READ);
  MappedFrame target(to, target_, GST_MAP_WRITE);
  if (!source || !target) return false;
  if (formatConverter_) return convertFormat(source.frame, target.frame);
  converter_->convert(readPlanes(source.frame), writePlanes(target.frame), visibleWidth_,
                      source_.height, target_.width);
  return true;
}

bool FrameNormalizer::convertFormat(GstVideoFrame& from, GstVideoFrame& target) {
  const I420 planes = writePlanes(target);
  if (between_) {
    const GstPtr<GstBuffer> buffer = between_->acquire();
    if (!buffer) return false;
    constexpr auto kBoth = static_cast<GstMapFlags>(GST_MAP_READ | GST_MAP_WRITE);
    MappedFrame planar(buffer.get(), between_->info(), kBoth);
    if (!planar) return false;
    gst_video_converter_frame(formatConverter_.get(), &from, &planar.frame);
    converter_->convert(readPlanes(planar.frame), planes, visibleWidth_, source_.height,
                        target_.width);
    return true;
  }
  target.info.width = visibleWidth_;  // without the padding
  gst_video_converter_frame(formatConverter_.get(), &from, &target);
  repeatLastColumn(planes[0], visibleWidth_, source_.height, target_.width);
  for (const size_t chroma : {size_t{1}, size_t{2}}) {
    repeatLastColumn(planes[chroma], (visibleWidth_ + 1) / 2, (source_.height + 1) / 2,
                     target_.width / 2);
  }
  return true;
}

}  // namespace NimboEngine
