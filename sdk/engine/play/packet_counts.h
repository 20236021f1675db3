// How many packets of a playback got lost on their way, as far as its source tells: those over UDP
// do, RTSP and SRT. Over TCP the kernel repeats what is lost.
//
// Thread: any.
// Failure: what is not told counts as nothing.

#pragma once

#include <cstdint>

#include "gst/pipeline.h"
#include "play/play_url.h"

namespace NimboEngine {

// Totals since the playback began.
struct PacketCounts {
  uint64_t received = 0;
  uint64_t lost = 0;

  PacketCounts& operator+=(const PacketCounts& other);
};

struct StreamPackets {
  PacketCounts all;
  PacketCounts audio;  // zero where the streams share their packets
};

StreamPackets countPackets(const Pipeline& pipeline, PlayProtocol protocol);

// Percent of the packets between two readings, rounded.
int lossBetween(const PacketCounts& before, const PacketCounts& after);

}  // namespace NimboEngine
