#include "capture/test_sources.h"

#include <fmt/format.h>

#include <utility>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

std::unique_ptr<Pipeline> buildTestPipeline(const char* name, const std::string& description,
                                            const SourceOutputs& outlets, Pipeline::Handler handler,
                                            std::string& problem) {
  auto pipeline = Pipeline::parse(name, description, std::move(handler));
  if (!pipeline) {
    problem = "its pipeline cannot be built";
    return nullptr;
  }
  connectEnds(pipeline->get(), outlets);
  return pipeline;
}

// The clock's text is dispensable: its element sits in a package of its own.
const char* runningClock() {
  return haveElement("timeoverlay")
             ? "timeoverlay time-mode=running-time halignment=center valignment=top "
               "shaded-background=true font-desc=\"Monospace 24\" ! "
             : "";
}

}  // namespace

TestPatternSource::TestPatternSource(SourceOutputs outlets) : outlets_(std::move(outlets)) {}

std::unique_ptr<Pipeline> TestPatternSource::build(Pipeline::Handler handler,
                                                   std::string& problem) {
  const std::string description =
      fmt::format("videotestsrc is-live=true pattern=smpte ! {},framerate={}/1 ! {}{}",
                  pictureCaps(outlets_.video), outlets_.video.fps, runningClock(),
                  videoBranch(outlets_, Timing::kLive));
  return buildTestPipeline("test pattern", description, outlets_, std::move(handler), problem);
}

TestToneSource::TestToneSource(SourceOutputs outlets) : outlets_(std::move(outlets)) {}

std::unique_ptr<Pipeline> TestToneSource::build(Pipeline::Handler handler, std::string& problem) {
  const int chunk = outlets_.audio.rate / 100;
  const std::string description = fmt::format(
      "audiotestsrc is-live=true wave=sine freq=440 volume=0.2 samplesperbuffer={} ! "
      "audio/x-raw,rate={} ! {}",
      chunk, outlets_.audio.rate, audioBranch(outlets_, Timing::kLive));
  return buildTestPipeline("test tone", description, outlets_, std::move(handler), problem);
}

}  // namespace NimboEngine
