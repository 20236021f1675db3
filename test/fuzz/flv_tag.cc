// The reading and rewriting of FLV tags. The first four bytes are the new time stamp.

#include "publish/flv_tag.h"

#include <gst/gst.h>

#include <algorithm>
#include <cstring>

#include "fuzz.h"

using namespace NimboEngine;
using NimboEngine::test::require;

namespace {

// The time stamp's place in a tag: bytes 4 to 7.
constexpr std::size_t kTimestampEnd = 8;

GstBuffer* copied(const uint8_t* data, std::size_t size) {
  return size > 0 ? gst_buffer_new_memdup(data, size) : gst_buffer_new();
}

// In two memories, as a muxer may produce it.
GstBuffer* copiedInPieces(const uint8_t* data, std::size_t size) {
  const std::size_t first = size / 2;
  return gst_buffer_append(copied(data, first), copied(data + first, size - first));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  [[maybe_unused]] static const bool started = gst_init_check(nullptr, nullptr, nullptr);
  uint32_t time = 0;
  std::memcpy(&time, data, std::min(size, sizeof time));
  data += std::min(size, sizeof time);
  size -= std::min(size, sizeof time);

  const GstPtr<GstBuffer> tag(copied(data, size));
  const GstPtr<GstBuffer> pieces(copiedInPieces(data, size));
  const PacketKind kind = classifyFlvTag(tag.get());
  require(classifyFlvTag(pieces.get()) == kind, "splitting makes no difference");
  const GstPtr<GstBuffer> later = withFlvTimestamp(tag.get(), time);
  require(gst_buffer_get_size(later.get()) == size, "the size stays");
  require(gst_buffer_memcmp(tag.get(), 0, data, size) == 0, "the original stays");
  if (size >= kTimestampEnd) {
    require(flvTimestamp(later.get()) == time, "the time stamp is read as it was written");
    require(classifyFlvTag(later.get()) == kind, "the kind stays");
  }
  return 0;
}
