// The container format of a protocol: the GStreamer element that writes it, and the properties of
// its packets.
//
// Thread: any; the functions keep no state.

#pragma once

#include <cstddef>
#include <cstdint>

#include "gst/gst_ptr.h"

namespace NimboEngine {

enum class PacketKind {
  kMetadata,
  kVideoHeader,  // codec configuration
  kAudioHeader,
  kVideoKeyFrame,
  kVideoFrame,
  kAudioFrame,
  kOther,  // not needed by a connection
};

struct Muxer {
  const char* element;    // with its properties; its pads are named video and audio
  const char* videoCaps;  // of the H.264 and AAC that it takes
  const char* audioCaps;
  std::size_t framing;  // bytes of a packet that are the container's own

  // A packet that is too short is kOther.
  PacketKind (*kindOf)(GstBuffer* packet);

  // In ms, may wrap; 0 for a packet that is too short.
  uint32_t (*timestampOf)(GstBuffer* packet);

  // Returns a copy of `packet` with another time stamp. Headers are created once but repeated to each
  // connection, where they must carry the time of the frames that follow.
  GstPtr<GstBuffer> (*withTimestamp)(GstBuffer* packet, uint32_t milliseconds);
};

}  // namespace NimboEngine
