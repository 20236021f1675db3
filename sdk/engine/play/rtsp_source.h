// Sets an rtspsrc up for live playing with aligned time stamps: the buffers of its pads carry PTS
// whose running times are RtpAlignment's (so they are RtpAlignment::kHeadroom later than they
// came), from the first packet on. rtpbin's own alignment is off: it comes with the first RTCP
// report, seconds late, as a step.
//
// Packets leave as they come; only a gap waits kReorderMs for the missing ones. The presentation's
// jitter buffer belongs behind the source.
//
// Thread: before the element leaves NULL.
// Ownership: what is set up lives as long as the element.
// Failure: none; a pad that carries no RTP stays as it is.

#pragma once

#include <gst/gst.h>

namespace NimboEngine {

// How long a packet may come after its successors.
constexpr unsigned kReorderMs = 60;

void configureRtspSource(GstElement* rtspsrc);

}  // namespace NimboEngine
