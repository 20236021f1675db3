#include "capture/test_sources.h"

#include <fmt/format.h>

#include <utility>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

Result<std::unique_ptr<Pipeline>> buildTestPipeline(const char* name,
                                                    const std::string& description,
                                                    const SourceOutputs& outputs,
                                                    Pipeline::Handler handler) {
  auto pipeline = Pipeline::parse(name, description, std::move(handler));
  if (!pipeline) return failed(LumoRtc::kLumoLiveNotSupported, "its pipeline cannot be built");
  connectOutputs(pipeline->get(), outputs);
  return pipeline;
}

// The running clock is optional: its element is in a separate package.
const char* runningClock() {
  return haveElement("timeoverlay")
             ? "timeoverlay time-mode=running-time halignment=center valignment=top "
               "shaded-background=true font-desc=\"Monospace 24\" ! "
             : "";
}

}  // namespace

TestPatternSource::TestPatternSource(SourceOutputs outputs) : outputs_(std::move(outputs)) {}

Result<std::unique_ptr<Pipeline>> TestPatternSource::build(Pipeline::Handler handler) {
  const std::string description =
      fmt::format("videotestsrc is-live=true pattern=smpte ! {},framerate={}/1 ! {}{}",
                  frameCaps(outputs_.video), outputs_.video.fps, runningClock(),
                  videoBranch(outputs_, Timing::kLive));
  return buildTestPipeline("test pattern", description, outputs_, std::move(handler));
}

TestToneSource::TestToneSource(SourceOutputs outputs) : outputs_(std::move(outputs)) {}

Result<std::unique_ptr<Pipeline>> TestToneSource::build(Pipeline::Handler handler) {
  const int chunk = outputs_.audio.rate / 100;
  const std::string description = fmt::format(
      "audiotestsrc is-live=true wave=sine freq=440 volume=0.2 samplesperbuffer={} ! "
      "audio/x-raw,rate={} ! {}",
      chunk, outputs_.audio.rate, audioBranch(outputs_, Timing::kLive));
  return buildTestPipeline("test tone", description, outputs_, std::move(handler));
}

}  // namespace NimboEngine
