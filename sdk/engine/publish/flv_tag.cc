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

PacketKind classifyFlvTag(GstBuffer* buffer) {
  std::array<uint8_t, kFlvTagHeader + 2> head{};
  const gsize size = gst_buffer_extract(buffer, 0, head.data(), head.size());
  if (size < head.size()) return PacketKind::kOther;
  const bool configuration = head[kFlvTagHeader + 1] == kConfiguration;
  switch (head[0]) {
    case kScriptType:
      return PacketKind::kMetadata;
    case kAudioType:
      return configuration ? PacketKind::kAudioHeader : PacketKind::kAudioFrame;
    case kVideoType:
      if (configuration) return PacketKind::kVideoHeader;
      return head[kFlvTagHeader] >> 4 == kKeyFrameType ? PacketKind::kVideoKeyFrame
                                                       : PacketKind::kVideoFrame;
    default:
      return PacketKind::kOther;
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

// latency: how long the muxer waits for the slower of both streams.
const Muxer kFlvMuxer{.element = "flvmux streamable=true latency=500000000",
                      .videoCaps = "video/x-h264,stream-format=avc,alignment=au",
                      .audioCaps = "audio/mpeg,mpegversion=4,stream-format=raw",
                      .framing = kFlvTagFraming,
                      .kindOf = classifyFlvTag,
                      .timestampOf = flvTimestamp,
                      .withTimestamp = withFlvTimestamp};

}  // namespace NimboEngine
