// The FLV muxer, and the properties of an FLV tag that the publisher needs.
//
// Thread: any; the functions keep no state.

#pragma once

#include <cstddef>
#include <cstdint>

#include "gst/gst_ptr.h"
#include "publish/muxer.h"

namespace NimboEngine {

// A tag starts with: type (1 byte), data size (3), time stamp (3, then its upper byte), stream (3).
inline constexpr std::size_t kFlvTagHeader = 11;
// Bytes of a tag besides its content: its header, and the size field after it.
inline constexpr std::size_t kFlvTagFraming = kFlvTagHeader + 4;

// `buffer` holds one tag, or the file header, which is kOther.
PacketKind classifyFlvTag(GstBuffer* buffer);

// See Muxer.
uint32_t flvTimestamp(GstBuffer* tag);
GstPtr<GstBuffer> withFlvTimestamp(GstBuffer* tag, uint32_t milliseconds);

// Its packets are whole tags: header, body, size.
extern const Muxer kFlvMuxer;

}  // namespace NimboEngine
