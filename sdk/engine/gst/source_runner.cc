#include "gst/source_runner.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/log.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;
using Kind = PipelineMessage::Kind;

// A source that delivers nothing for this long counts as lost. Some cameras take seconds to start.
constexpr std::chrono::seconds kSilence{5};

// A source that has delivered nothing since its start is restarted after this long, once: a camera
// that PipeWire passes from one client to the next sometimes delivers no frames.
constexpr std::chrono::seconds kBeginning{2};

// Media that end at once must not be repeated without a pause.
constexpr std::chrono::milliseconds kShortestRound{100};

// Interval at which a source with a predecessor is polled for its first data.
constexpr std::chrono::milliseconds kSwitchPollInterval{20};

tl::unexpected<Error<>> lost(const std::string& message) {
  return failed(LumoRtc::kLumoLiveNotFound, "{}", message);
}

}  // namespace

// The pipeline's messages share it too.
struct SourceRunner::State : WorkerState<FailureCallback, PipelineMessage>,
                             std::enable_shared_from_this<State> {
  State(std::string sourceName, MakeSource makeSource, FailureCallback callback,
        Predecessor runsBefore)
      : WorkerState(std::move(callback)),
        name(std::move(sourceName)),
        make(std::move(makeSource)),
        predecessor(std::move(runsBefore)) {}

  const std::string name;
  const MakeSource make;
  bool mayRestart = true;  // on the runner's thread, as the next
  bool shouldRestart = false;
  Predecessor predecessor NIMBO_GUARDED_BY(mutex);

  void run();
  Result<void> work();
  Result<void> follow(Source& source, Pipeline& pipeline);
  bool restart(Pipeline& pipeline);
  std::string whyNotStarted();
  void switchOver();
  void endPredecessor();
  void stopPredecessor();
  std::optional<PipelineMessage> next(const Source& source, bool& silent);
  bool waitUntil(Clock::time_point time);
};

void SourceRunner::State::run() {
  const Result<void> worked = work();
  endPredecessor();
  if (worked) return;
  NIMBO_LOG_WARN("source {}: {}", name, worked.error().text);
  notify([&](FailureCallback& callback) { callback(worked.error().text); });
}

// Fails unless the source was asked to end.
Result<void> SourceRunner::State::work() {
  const auto source = make();
  if (!source) return tl::unexpected(source.error());
  auto onMessage = [self = shared_from_this()](const PipelineMessage& message) {
    if (message.kind != Kind::kBuffering) self->send(message);
  };
  for (;;) {
    const auto pipeline = (*source)->build(onMessage);
    if (!pipeline) return tl::unexpected(pipeline.error());
    const Result<void> followed = follow(**source, **pipeline);
    if (!followed || !shouldRestart) return followed;
    shouldRestart = false;
    mayRestart = false;
  }
}

Result<void> SourceRunner::State::follow(Source& source, Pipeline& pipeline) {
  auto roundBegan = Clock::now();
  bool running = pipeline.play();
  if (running) switchOver();
  while (running) {
    bool silent = false;
    const auto message = next(source, silent);
    if (silent && !shouldRestart) return lost("it delivers no data");
    if (!message) return {};
    if (message->kind == Kind::kError) return lost(message->text);
    if (!waitUntil(roundBegan + kShortestRound)) return {};
    roundBegan = Clock::now();
    running = source.rewind(pipeline) || restart(pipeline);
  }
  return lost(whyNotStarted());
}

bool SourceRunner::State::restart(Pipeline& pipeline) {
  gst_element_set_state(pipeline.get(), GST_STATE_READY);
  return pipeline.play();
}

std::string SourceRunner::State::whyNotStarted() {
  const MutexLock lock(mutex);
  const auto error = std::find_if(messages.begin(), messages.end(),
                                  [](const auto& message) { return message.kind == Kind::kError; });
  return error == messages.end() ? "it cannot be started" : error->text;
}

void SourceRunner::State::switchOver() {
  {
    MutexLock lock(mutex);
    if (!predecessor.runner) return;
    const auto giveUp = Clock::now() + kSilence;
    while (!stopping && messages.empty() && !predecessor.begun() && Clock::now() < giveUp) {
      changed.wait_for(lock, kSwitchPollInterval);
    }
  }
  endPredecessor();
}

void SourceRunner::State::endPredecessor() {
  std::unique_ptr<SourceRunner> ended;  // not under the lock: it may take its time
  const MutexLock lock(mutex);
  ended.swap(predecessor.runner);
}

void SourceRunner::State::stopPredecessor() {
  const MutexLock lock(mutex);
  if (predecessor.runner) predecessor.runner->requestStop();
}

// Returns the next message; none if asked to stop or, with `silent` set, if the source has stalled.
std::optional<PipelineMessage> SourceRunner::State::next(const Source& source, bool& silent) {
  MutexLock lock(mutex);
  const auto woken = [this]() NIMBO_REQUIRES(mutex) { return stopping || !messages.empty(); };
  for (;;) {
    const int64_t before = source.progress();
    const bool isBeginning = mayRestart && before == 0;
    if (before < 0) {
      changed.wait(lock, woken);
    } else if (!changed.wait_for(lock, isBeginning ? kBeginning : kSilence, woken)) {
      silent = source.progress() == before;
      shouldRestart = silent && isBeginning;
      if (silent) return std::nullopt;
      continue;
    }
    if (stopping) return std::nullopt;
    return takeMessage();
  }
}

// Returns false if asked to stop before `time`.
bool SourceRunner::State::waitUntil(Clock::time_point time) {
  MutexLock lock(mutex);
  return !changed.wait_until(lock, time, [this]() NIMBO_REQUIRES(mutex) { return stopping; });
}

SourceRunner::SourceRunner(std::string name, MakeSource make, FailureCallback onFailure,
                           Predecessor predecessor)
    : worker_({.name = "source"}, std::move(name), std::move(make), std::move(onFailure),
              std::move(predecessor)) {}

SourceRunner::~SourceRunner() {
  requestStop();
}

void SourceRunner::requestStop() {
  worker_.requestStop();
  worker_->stopPredecessor();
}

}  // namespace NimboEngine
