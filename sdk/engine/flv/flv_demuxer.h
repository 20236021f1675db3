// GStreamer element "nimboflvdemux": demultiplexer of live FLV, from HTTP or RTMP.
//
// Pads: the sink pad takes video/x-flv, cut anywhere. The source pads "video" and "audio" are added
//   independently, each when its stream can be decoded for the first time (see FlvStream). The
//   element keeps no frames. no-more-pads is emitted when both pads exist, else at the end.
// Codecs: those of FlvCodec. Unknown codecs and encrypted tags are skipped, with one warning
//   message for each stream.
// Time: both streams share one timeline (see FlvTimeline), in a time segment that starts at 0.
//   kFlvTimeOffset is added to every time stamp, so that no presentation time is negative. Buffers
//   have PTS and DTS. After a jump of the time stamps, or lost bytes, the next buffer of each
//   stream has DISCONT.
// Changes: another configuration, format or codec in mid-stream becomes new caps on the same pad.
// Seeking: not supported; a flush resets parser and timeline.
//
// Thread: any, as for every element. All output leaves on the sink pad's streaming thread.
// Ownership: as for every element.
// Failure: error messages of the domain STREAM: DEMUX for input that is not FLV and for an end
//   without any stream, CODEC_NOT_FOUND for an end with only undecodable streams. The flow is
//   NOT_LINKED only when both pads exist and neither is linked.

#pragma once

#include <gst/gst.h>

namespace NimboEngine {

inline constexpr char kFlvDemuxerFactory[] = "nimboflvdemux";
inline constexpr GstClockTime kFlvTimeOffset = 10 * GST_SECOND;

// Registers the element's factory; GStreamer must be initialised. Its rank is NONE: decodebin does
// not choose it.
bool registerFlvDemuxer();

}  // namespace NimboEngine
