// Builds the pipeline that plays a URL: source, demultiplexer, decoders, and the branches that
// deliver into the output. The first video and the first audio stream are played.
//
//   live   rtmp, rtmps, rtsp, srt, and http(s) without a length: everything is decoded on arrival,
//          each stream on a thread of its own, so that neither waits for the other. timed  files,
//          HLS, and http(s) with a length: decoded a little ahead of the presentation.
//
// Thread: any.
// Ownership: the pipeline is the caller's; it shares the output.
// Failure: null if the pipeline cannot be built; the error is logged.

#pragma once

#include <memory>
#include <string>

#include "gst/pipeline.h"
#include "play/decoded_media_sink.h"
#include "play/play_url.h"

namespace NimboEngine {

// `fetchUri` is the address for the guarded source (see fetch/fetch_uri.h), empty for other
// sources.
//
// An RTMP pipeline begins with the FLV demultiplexer, which is fed through a pad that the caller
// links to it: the element "streams".
std::unique_ptr<Pipeline> buildPlayPipeline(const PlayUrl& url, const std::string& fetchUri,
                                            std::shared_ptr<DecodedMediaSink> output,
                                            Pipeline::Handler handler);

}  // namespace NimboEngine
