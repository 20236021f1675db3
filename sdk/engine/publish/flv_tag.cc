#include "publish/flv_tag.h"

#include <array>

namespace NimboEngine {
namespace {

constexpr std::size_t kTimestampOffset = 4;

constexpr uint8_t kAudioType = 8;
constexpr uint8_t kVideoType = 9;
constexpr uint8_t kScriptType = 18;

// First byte of video data: frame type and codec. Second byte, of AVC and AAC alike: 0 for the
// codec configuration.
constexpr int kKeyFrameType = 1;
constexpr uint8_t kConfiguration = 0;

}  // namespace

FlvTag classifyFlvTag(GstBuffer* buffer) {
  std::array<uint8_t, kFlvTagHeader + 2> head{};
  const gsize size = gst_buffer_extract(buffer, 0, head.data(), head.size());
  if (size >= 3 && head[0] == 'F' && head[1] == 'L' && head[2] == 'V') return FlvTag::kFileHeader;
  if (size < head.size()) return FlvTag::kOther;
  const bool configuration = head[kFlvTagHeader + 1] == kConfiguration;
  switch (head[0]) {
    case kScriptType:
      return FlvTag::kMetadata;
    case kAudioType:
      return configuration ? FlvTag::kAudioHeader : FlvTag::kAudioFrame;
    case kVideoType:
      if (configuration) return FlvTag::kVideoHeader;
      return head[kFlvTagHeader] >> 4 == kKeyFrameType ? FlvTag::kVideoKeyFrame
                                                       : FlvTag::kVideoFrame;
    default:
      return FlvTag::kOther;
  }
}

uint32_t flvTimestamp(GstBuffer* tag) {
  std::array<uint8_t, 4> bytes{};
  if (gst_buffer_extract(tag, kTimestampOffset, bytes.data(), bytes.size()) != bytes.size()) {
    return 0;
  }
  return static_cast<uint32_t>(bytes[3]) << 24 | static_cast<uint32_t>(bytes[0]) << 16 |
         static_cast<uint32_t>(bytes[1]) << 8 | bytes[2];
}

GstPtr<GstBuffer> withFlvTimestamp(GstBuffer* tag, uint32_t milliseconds) {
  GstPtr<GstBuffer> copy(gst_buffer_copy_deep(tag));
  const std::array<uint8_t, 4> bytes = {
      static_cast<uint8_t>(milliseconds >> 16), static_cast<uint8_t>(milliseconds >> 8),
      static_cast<uint8_t>(milliseconds), static_cast<uint8_t>(milliseconds >> 24)};
  gst_buffer_fill(copy.get(), kTimestampOffset, bytes.data(), bytes.size());
  return copy;
}

}  // namespace NimboEngine
