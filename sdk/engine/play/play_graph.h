// Builds the pipeline that plays a URL: source, demultiplexer, decoders, and the ends that deliver
// into outlets. The first video and the first audio stream are played.
//
//   live   rtmp, rtmps, rtsp, srt, and http(s) without a length: each picture is delivered when it
//          has been decoded. Nothing waits for a clock, nothing is decoded ahead.
//   timed  files, HLS, and http(s) with a length: by the time stamps.
//
// Thread: any.
// Ownership: the pipeline is the caller's; it shares the outlets.
// Failure: null when the pipeline cannot be built; the reason is logged.

#pragma once

#include <memory>

#include "gst/pipeline.h"
#include "play/play_outlets.h"
#include "play/play_url.h"

namespace NimboEngine {

std::unique_ptr<Pipeline> buildPlayGraph(const PlayUrl& url, std::shared_ptr<PlayOutlets> outlets,
                                         Pipeline::Handler handler);

}  // namespace NimboEngine
