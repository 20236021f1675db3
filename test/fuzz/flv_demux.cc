// The FLV demuxer: parser, tag headers, timeline and the element. The first byte is the size of the
// chunks, minus one, into which the rest is split.

#include <algorithm>
#include <cstring>
#include <vector>

#include "flv/demuxer_rig.h"
#include "flv/flv_demuxer.h"
#include "flv/flv_media.h"
#include "flv/flv_parser.h"
#include "flv/flv_timeline.h"
#include "fuzz.h"
#include "gst/runtime.h"

using namespace NimboEngine;
using NimboEngine::test::DemuxerRig;
using NimboEngine::test::FlvBytes;
using NimboEngine::test::require;

namespace {

struct Parsed {
  FlvTagType type;
  uint32_t timestampMs;
  bool encrypted;
  bool afterGap;
  FlvBytes body;

  bool operator==(const Parsed&) const = default;
};

// Calls `use` with a copy of each chunk of the input.
template <class Use>
void forEachPiece(const uint8_t* data, std::size_t size, std::size_t step, Use use) {
  for (std::size_t at = 0; at < size;) {
    const std::size_t count = std::min(step, size - at);
    use(FlvBytes(data + at, data + at + count));
    at += count;
  }
}

std::vector<Parsed> parse(const uint8_t* data, std::size_t size, std::size_t step) {
  FlvParser parser;
  std::vector<Parsed> tags;
  forEachPiece(data, size, step, [&](const FlvBytes& piece) {
    parser.feed(piece);
    RawFlvTag tag;
    while (parser.next(tag) == FlvParser::Status::kTag) {
      tags.push_back({tag.type,
                      tag.timestampMs,
                      tag.encrypted,
                      tag.afterGap,
                      {tag.body.begin(), tag.body.end()}});
    }
  });
  return tags;
}

void checkMedia(const FlvMedia& media, const FlvBytes& body) {
  require(media.offset <= body.size() && media.size <= body.size() - media.offset,
          "the payload is within the body");
  require(media.kind != FlvMedia::Kind::kFrame || media.size > 0, "a frame is not empty");
  require(std::abs(media.compositionMs) <= 10'000, "the composition time is in range");
  require(media.nanoseconds < 1'000'000, "the nanoseconds are less than a millisecond");
  require(!flvCodeText(media.code).empty(), "a codec has a name");
}

void demux(const uint8_t* data, std::size_t size, std::size_t step) {
  DemuxerRig rig;
  GstFlowReturn flow = GST_FLOW_OK;
  forEachPiece(data, size, step, [&](const FlvBytes& piece) {
    if (flow == GST_FLOW_OK) flow = rig.feed(piece);
  });
  rig.end();
  for (const char* name : {"video", "audio"}) {
    const auto* stream = rig.stream(name);
    if (!stream) continue;
    GstClockTime last = 0;
    for (const auto& frame : stream->frames) {
      require(GST_CLOCK_TIME_IS_VALID(frame.pts), "a frame has a time");
      // Nanoseconds are added to single frames.
      require(frame.dts + GST_MSECOND > last, "time does not go back");
      last = frame.dts;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  static const bool started = startGstreamer() && registerFlvDemuxer();
  require(started, "GStreamer starts");
  if (size == 0) return 0;
  const std::size_t step = std::size_t{data[0]} + 1;
  ++data;
  --size;
  const auto tags = parse(data, size, step);
  require(tags == parse(data, size, SIZE_MAX), "splitting makes no difference");
  FlvTimeline timeline;
  for (const auto& tag : tags) {
    checkMedia(readFlvVideo(tag.body), tag.body);
    checkMedia(readFlvAudio(tag.body), tag.body);
    const auto place = timeline.place(tag.type == FlvTagType::kVideo ? 0 : 1, tag.timestampMs);
    require(place.ms >= -FlvTimeline::kMaxDistanceMs, "the time is in range");
  }
  demux(data, size, step);
  return 0;
}
