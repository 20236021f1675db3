// The properties of an FLV tag that the publisher needs; the muxer handles everything else.
//
// Thread: any; the functions keep no state.

#pragma once

#include <cstddef>
#include <cstdint>

#include "gst/gst_ptr.h"

namespace NimboEngine {

enum class FlvTag {
  kFileHeader,  // the signature at the start of a file, which no connection needs
  kMetadata,
  kVideoHeader,  // codec configuration
  kAudioHeader,
  kVideoKeyFrame,
  kVideoFrame,
  kAudioFrame,
  kOther,
};

// A tag starts with: type (1 byte), data size (3), time stamp (3, then its upper byte), stream (3).
inline constexpr std::size_t kFlvTagHeader = 11;
// Bytes of a tag besides its content: its header, and the size field after it.
inline constexpr std::size_t kFlvTagFraming = kFlvTagHeader + 4;

// `buffer` holds one tag, or the file header. A buffer that is too short is kOther.
FlvTag classifyFlvTag(GstBuffer* buffer);

// Returns the tag's time stamp in ms; 0 for a buffer that is too short.
uint32_t flvTimestamp(GstBuffer* tag);

// Returns a copy of `tag` with another time stamp. Headers are created once but repeated to each
// connection, where they must carry the time of the frames that follow.
GstPtr<GstBuffer> withFlvTimestamp(GstBuffer* tag, uint32_t milliseconds);

}  // namespace NimboEngine
