// Converts decoded frames into the form of media/frame_form.h. Accepts every raw format that
// libgstvideo can read, with any strides, colorimetry and pixel aspect ratio, in mappable memory.
//
// Frames for writers become contiguous blocks, padded to a multiple of 8 columns by repeating the
// last one; a frame that has this layout already, and no other reference, passes through uncopied.
// Frames for readers are only converted where form or size need it.
//
// Missing colorimetry is replaced by GStreamer's defaults: BT.601 up to 576 rows, BT.709 above,
// limited range; an unknown chroma siting by left. Non-square pixels are scaled in width.
// Interlaced frames must be deinterlaced before.
//
// Thread: one thread at a time.
// Ownership: buffers come from a pool and return to it with their last reference, also after the
//   normalizer's destruction.
// Failure: normalize() returns nothing if the caps are not those of a raw frame, or the frame
//   cannot be mapped or converted, or there is no memory; caps that cannot be used are logged.

#pragma once

#include <gst/video/video.h>

#include <memory>
#include <optional>

#include "gst/gst_ptr.h"
#include "media/frame_buffer_pool.h"
#include "media/i420_converter.h"

namespace NimboEngine {

struct NormalizedFrame {
  GstPtr<GstBuffer> buffer;  // with the time stamps of the source
  const GstVideoInfo& info;  // of the padded frame; valid until the next call
  int visibleWidth = 0;      // pixels without the padding
  int visibleHeight = 0;
};

class FrameNormalizer {
 public:
  enum class Use { kRead, kWrite };

  explicit FrameNormalizer(Use use) : use_(use) {}

  // A frame for writers can pass through uncopied only if there is no other reference to it,
  // including its sample: an appsink holds the newest one.
  std::optional<NormalizedFrame> normalize(GstPtr<GstSample> sample);
  std::optional<NormalizedFrame> normalize(GstPtr<GstBuffer> buffer, GstCaps* caps);

 private:
  struct FreeConverter {
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
  };

  bool adopt(GstCaps* caps);
  bool prepare();
  bool prepareFormatConversion();
  bool canPassThrough(GstBuffer* buffer) const;
  bool convert(GstBuffer* from, GstBuffer* to);
  bool convertFormat(GstVideoFrame& from, GstVideoFrame& target);

  const Use use_;
  GstPtr<GstCaps> caps_;
  bool usable_ = false;    // whether frames of these caps can be converted
  GstVideoInfo source_{};  // from the caps, with missing colorimetry filled in
  int visibleWidth_ = 0;   // with square pixels
  bool isInForm_ = false;  // only the layout may have to change
  GstVideoInfo target_{};  // of the frames that are returned
  std::unique_ptr<FrameBufferPool> pool_;
  std::optional<I420Converter> converter_;  // none: the format converter's output has the form
  // Converts other formats to planar 4:2:0 of 8 bits with square pixels. Null: not needed.
  std::unique_ptr<GstVideoConverter, FreeConverter> formatConverter_;
  std::unique_ptr<FrameBufferPool> between_;  // between the two; null: there is only one of them
};

}  // namespace NimboEngine
