#include "play/rtmp_feed.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

namespace NimboEngine {
namespace {

// Signature, version 1, audio and video, the header's own size; then the size of the previous tag,
// 0.
constexpr std::array<uint8_t, 13> kFileHeader = {'F', 'L', 'V', 1, 5, 0, 0, 0, 9, 0, 0, 0, 0};

constexpr std::size_t kTagHeaderBytes = 11;
constexpr std::size_t kTagSizeBytes = 4;

GstPtr<GstBuffer> fileHeader() {
  return GstPtr<GstBuffer>(gst_buffer_new_memdup(kFileHeader.data(), kFileHeader.size()));
}

template <std::size_t kBytes>
uint8_t* put(uint8_t* target, std::size_t value) {
  for (std::size_t i = kBytes; i-- > 0;) *target++ = static_cast<uint8_t>(value >> 8 * i);
  return target;
}

// A message fits into a tag's size field: ChunkReader ensures that.
GstPtr<GstBuffer> tagOf(const RtmpMessage& message) {
  const std::size_t size = message.body.size();
  GstPtr<GstBuffer> tag(
      gst_buffer_new_allocate(nullptr, kTagHeaderBytes + size + kTagSizeBytes, nullptr));
  GstMapInfo map;
  if (!tag || !gst_buffer_map(tag.get(), &map, GST_MAP_WRITE)) return nullptr;
  uint8_t* target = map.data;
  *target++ = static_cast<uint8_t>(message.type);
  target = put<3>(target, size);
  target = put<3>(target, message.timestamp & 0xffffff);
  target = put<1>(target, message.timestamp >> 24);
  target = put<3>(target, 0);  // the stream number, which the format does not use
  if (size > 0) std::memcpy(target, message.body.data(), size);
  put<4>(target + size, kTagHeaderBytes + size);
  gst_buffer_unmap(tag.get(), &map);
  return tag;
}

}  // namespace

RtmpFeed::RtmpFeed(const RtmpUrl& url, Events events)
    : events_(std::move(events)),
      client_(RtmpRole::kPlay, url,
              {.onConnected = events_.onAnswered,
               .onStarted = {},
               .onMedia = [this](const RtmpMessage& message) { onMedia(message); },
               .onEnded =
                   [this](const ConnectionFailure& failure) {
                     if (events_.onEnded) events_.onEnded(failure.code, failure.text);
                   },
               .onFinished = {}}) {}

void RtmpFeed::onMedia(const RtmpMessage& message) {
  if (!std::exchange(begun_, true)) events_.onTag(fileHeader());
  if (auto tag = tagOf(message)) events_.onTag(std::move(tag));
}

}  // namespace NimboEngine
