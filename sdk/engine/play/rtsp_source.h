// Sets an rtspsrc up for live playing with aligned time stamps: the buffers of its pads carry PTS
// whose running times are RtpAlignment's (so RtpAlignment::kHeadroom after their arrival), from the
// first packet on. rtpbin's own alignment is off: it takes effect with the first RTCP report,
// seconds late, as a step.
//
// Packets are passed on immediately; only a gap waits kReorderMs for missing ones. The jitter
// buffer proper is that of the presentation, downstream.
//
// Thread: before the element leaves NULL.
// Ownership: everything set up has the lifetime of the element.
// Failure: none; a pad without RTP stays unchanged.

#pragma once

#include <gst/gst.h>

namespace NimboEngine {

// How long after its successors a packet may arrive.
constexpr unsigned kReorderMs = 60;

void configureRtspSource(GstElement* rtspsrc);

}  // namespace NimboEngine
