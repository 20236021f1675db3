// Counts the lost packets of a playback, as reported by its source: RTSP over UDP and SRT report
// them. Over TCP the kernel retransmits.
//
// Thread: any.
// Failure: unreported counts are zero.

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

// Returns the loss between two readings in percent, rounded.
int lossBetween(const PacketCounts& before, const PacketCounts& after);

}  // namespace NimboEngine
