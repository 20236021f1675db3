#include "play/playback.h"

#include <system_error>
#include <utility>

#include "base/log.h"
#include "platform/close_on_exec.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;

constexpr auto kTick = 250ms;
constexpr auto kReportInterval = 1s;
constexpr auto kLogInterval = 10s;
// Stopping a pipeline took 130 ms at most, unless it hung.
constexpr auto kStopTimeout = 400ms;
// How long a playing stream may stall. A server may send nothing for a while between two segments.
constexpr auto kLiveSilence = 5s;
constexpr auto kSegmentSilence = 10s;

std::optional<std::chrono::seconds> silenceOf(const PlayUrl& url) {
  switch (url.protocol) {
    case PlayProtocol::kFile:
      return std::nullopt;
    case PlayProtocol::kHttp:
      return kSegmentSilence;
    default:
      return kLiveSilence;
  }
}

const char* textOf(LumoLiveErrorCode code) {
  switch (code) {
    case kLumoLiveErrorStreamNotFound:
      return "the server has no such stream now";
    case kLumoLiveErrorConnectTimeout:
      return "the server does not answer";
    case kLumoLiveErrorUndecodable:
      return "none of the received data can be decoded";
    default:
      return "no data arrives any more";
  }
}

}  // namespace

Playback::Playback(EngineThread& engine, PlayUrl url, const PlaySettings& settings,
                   DecodedMediaSink::Handlers handlers, Events events)
    : engine_(engine),
      url_(std::move(url)),
      settings_(settings),
      handlers_(std::move(handlers)),
      events_(std::move(events)),
      lastReport_(Clock::now()),
      lastLog_(lastReport_) {
  NIMBO_LOG_INFO("playing {}", url_.forLog());
  open();
  tick();
}

Playback::~Playback() {
  close();
}

void Playback::open() {
  if (stopping_ || PlayAttempt::areShutDown()) return;
  try {
    output_ = std::make_shared<DecodedMediaSink>(settings_, watchedHandlers());
  } catch (const std::system_error&) {
    engine_.post(ownerGuard_.bind(
        [this] { onAttemptFailed(kLumoLiveErrorNoCapacity, "no thread can be started"); }));
    return;
  }
  watch_.emplace(Clock::now(), silenceOf(url_));
  lastCounts_ = {};
  lastCounts_.shown = events_.shown();
  auto over = ownerGuard_.bind([this](const PlayOutcome& outcome) { onAttemptOver(outcome); });
  runner_ = std::make_unique<PlayAttempt>(
      url_, settings_.sources, output_, [this, over](const PlayOutcome& outcome) {
        engine_.post([over, outcome]() mutable { over(outcome); });
      });
}

DecodedMediaSink::Handlers Playback::watchedHandlers() {
  auto first = ownerGuard_.bind([this] { onFirstOutput(); });
  auto notified = std::make_shared<std::atomic<bool>>(false);
  const auto notify = [this, first, notified] {
    if (!notified->load(std::memory_order_relaxed) && !notified->exchange(true))
      engine_.post(first);
  };
  return {.onFrame =
              [this, notify](GstBuffer* buffer, const GstVideoInfo& info) {
                notify();
                handlers_.onFrame(buffer, info);
              },
          .onAudio =
              [this, notify](const AudioAligner::Piece& piece) {
                notify();
                handlers_.onAudio(piece);
              }};
}

void Playback::close() {
  if (output_) output_->close();
  runner_.reset();
}

void Playback::onFirstOutput() {
  retry_.recovered();
  markNewDescriptors();  // downloads do not forward their elements' messages
  if (stopping_ || std::exchange(started_, true)) return;
  live_ = output_->mode() == kLumoLivePlayModeLive;
  lastReport_ = Clock::now();
  lastCounts_ = output_->counts();
  lastCounts_.shown = events_.shown();
  events_.onStarted();
}

void Playback::stop() {
  stopping_ = true;
  if (output_) output_->close();
  if (runner_) runner_->requestStop();
  const auto timeout =
      runner_ ? EngineThread::Clock::duration(kStopTimeout) : EngineThread::Clock::duration::zero();
  engine_.postAfter(timeout, ownerGuard_.bind([this] { over({}); }));
}

void Playback::onAttemptOver(const PlayOutcome& outcome) {
  if (stopping_) return over({});
  const bool live = started_ ? live_ : output_->mode() == kLumoLivePlayModeLive;
  if (outcome.kind == PlayOutcome::Kind::kFailed) {
    onAttemptFailed(outcome.code, outcome.message);
  } else if (live) {
    onAttemptFailed(started_ ? kLumoLiveErrorConnectionLost : kLumoLiveErrorStreamNotFound,
                    "the stream has ended");
  } else {
    over(outcome);
  }
}

void Playback::onAttemptFailed(LumoLiveErrorCode code, const std::string& message) {
  close();
  if (started_ && live_ && code != kLumoLiveErrorUndecodable) {
    if (const auto pause = retry_.nextPause(Clock::now())) {
      NIMBO_LOG_WARN("player: lost {} ({}); trying again", url_.forLog(), message);
      events_.onLost();
      engine_.postAfter(*pause, ownerGuard_.bind([this] { open(); }));
      return;
    }
    code = kLumoLiveErrorConnectionLost;  // whatever the error of the last attempt
  }
  over({PlayOutcome::Kind::kFailed, code, message});
}

void Playback::over(const PlayOutcome& outcome) {
  if (std::exchange(over_, true)) return;
  close();
  events_.onOver(outcome);
}

void Playback::tick() {
  if (stopping_ || over_) return;
  const auto now = Clock::now();
  if (runner_) {
    const auto wrong = watch_->check(now, output_->counts(), output_->answered);
    if (wrong) onAttemptFailed(*wrong, textOf(*wrong));
  }
  if (over_) return;
  if (started_ && now - lastReport_ >= kReportInterval) reportSecond(now);
  engine_.postAfter(kTick, ownerGuard_.bind([this] { tick(); }));
}

void Playback::reportSecond(Clock::time_point now) {
  PlayCounts counts = output_->counts();
  counts.shown = events_.shown();
  const auto length = std::chrono::duration_cast<std::chrono::milliseconds>(now - lastReport_);
  NetworkRating::Second second = lastSecond(now, counts);
  const LumoLivePlayerStatsInfo stats = statisticsBetween(lastCounts_, counts, length);
  second.lossPercent = stats.lossRate;
  lastReport_ = now;
  lastCounts_ = counts;
  if (url_.protocol != PlayProtocol::kFile) {
    if (const auto quality = rating_.judge(second)) events_.onQuality(*quality);
  }
  events_.onStatistics(stats);
  if (now - lastLog_ >= kLogInterval) logPresentation(now, counts);
}

void Playback::logPresentation(Clock::time_point now, const PlayCounts& counts) {
  lastLog_ = now;
  const Presenter::Counts& presented = counts.presented;
  NIMBO_LOG_INFO("player: {}: buffer {} ms, audio {:+} ms from video, late: {} frames, {} audio",
                 url_.forLog(), presented.depth.count(), presented.avOffset.count(),
                 presented.lateFrames, presented.lateAudio);
}

NetworkRating::Second Playback::lastSecond(Clock::time_point now, const PlayCounts& counts) {
  NetworkRating::Second second;
  second.connected = !retry_.isLost();
  if (live_) {
    second.delay = output_->takeWorstDelay(now);
  } else if (counts.decoded() == lastCounts_.decoded()) {
    second.delay = kReportInterval;  // waiting for data
  }
  return second;
}

}  // namespace NimboEngine
