// The element "nimboflvdemux": splits a live FLV, from HTTP or RTMP, into its video and its audio.
//
// Pads: sink takes video/x-flv, as bytes cut anywhere; "video" and "audio" are added each when its
//   stream can first be decoded (see FlvStream). Neither waits for the other, and the element keeps
//   no frames. no-more-pads comes when both are there, else with the end.
// Codecs: those of FlvCodec. Codecs that are not known, and encrypted tags, are left out, with one
//   warning for each stream.
// Time: both streams are on one timeline (see FlvTimeline), in a plain time segment that begins at
//   0. To each time stamp kFlvTimeOffset is added, so that no presentation time is negative.
//   Buffers have PTS and DTS. After a jump, or a gap in the bytes, the next frame of each stream
//   has DISCONT.
// Changes: a new configuration or format, even codec, in mid-stream becomes new caps on the same
// pad. Seeking: none; a flush begins anew with whatever bytes come.
//
// Thread: as any element's; all output leaves on the thread that pushes into the sink.
// Ownership: that of GStreamer's elements.
// Failure: errors on the bus, in the domain STREAM: DEMUX for bytes that are no FLV and for an end
//   without any stream, CODEC_NOT_FOUND for an end with only streams that cannot be decoded. A
//   stream whose pad is not linked is left out.

#pragma once

#include <gst/gst.h>

namespace NimboEngine {

inline constexpr char kFlvDemuxerFactory[] = "nimboflvdemux";
inline constexpr GstClockTime kFlvTimeOffset = 10 * GST_SECOND;

// Makes the element known to GStreamer, which must have been started; decodebin does not choose it.
bool registerFlvDemuxer();

}  // namespace NimboEngine
