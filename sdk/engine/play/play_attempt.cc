#include "play/play_attempt.h"

#include <fmt/format.h>

#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/never_destroyed.h"
#include "fetch/fetch_access.h"
#include "fetch/local_file.h"
#include "gst/runtime.h"
#include "play/flv_input.h"
#include "play/network_cause.h"
#include "play/pipeline_builder.h"
#include "play/play_error.h"
#include "play/rtmp_feed.h"
#include "play/source_sockets.h"

namespace NimboEngine {
namespace {

using Kind = PipelineMessage::Kind;

// Interval at which the source is polled for changes that it does not signal.
constexpr std::chrono::milliseconds kPollInterval{250};
constexpr std::chrono::milliseconds kDrainInterval{20};

// RTSP sends a teardown to its server. A source that waits for the server for longer, or reads an
// endless reply, is cut off.
constexpr std::chrono::milliseconds kTeardownTime{150};
// The most that an RTSP server may send before its first packet. A session description has a few
// kilobytes.
constexpr uint64_t kMaxReplyBytes = uint64_t{1024} * 1024;
constexpr std::chrono::milliseconds kReplyPollInterval{20};

// Returns which GStreamer elements a playback may need.
std::vector<Feature> featuresOf(PlayProtocol protocol) {
  switch (protocol) {
    case PlayProtocol::kHttp:
      return {Feature::kPlaying, Feature::kPlayingHls};
    case PlayProtocol::kRtsp:
      return {Feature::kPlaying, Feature::kPlayingRtsp};
    case PlayProtocol::kSrt:
      return {Feature::kPlaying, Feature::kPlayingSrt};
    case PlayProtocol::kRtmp:
    case PlayProtocol::kFile:
      return {Feature::kPlaying};
  }
  return {};
}

}  // namespace

// The pipeline's messages share it too.
struct PlayAttempt::State : WorkerState<OverCallback, PipelineMessage>,
                            std::enable_shared_from_this<State> {
  State(PlayUrl playUrl, const SourceSettings& sourceSettings,
        std::shared_ptr<DecodedMediaSink> playOutput, OverCallback callback)
      : WorkerState(std::move(callback)),
        url(std::move(playUrl)),
        sources(sourceSettings),
        output(std::move(playOutput)) {}

  const PlayUrl url;
  const SourceSettings sources;
  const std::shared_ptr<DecodedMediaSink> output;

  std::optional<PlayOutcome> sourceFailure NIMBO_GUARDED_BY(mutex);

  std::shared_ptr<SourceSockets> sockets;  // of RTSP
  uint64_t repliedBytes = 0;               // through them, when the source last output media
  uint64_t arrived = 0;                    // media output by then
  std::shared_ptr<FetchAccess> access;     // from the beginning of work() to its end

  void run();
  PlayOutcome work();
  std::optional<PlayOutcome> chooseSource(std::string& fetchUri) const;
  PlayOutcome follow(Pipeline& pipeline);
  void drain();
  PlayOutcome failure(const PipelineMessage& error);
  std::optional<PipelineMessage> next(Pipeline& pipeline);
  std::chrono::milliseconds pollInterval() const;
  bool mustPoll() const;
  std::unique_ptr<RtmpFeed> startFeed(Pipeline& pipeline);
  void onFetchFailed(const FetchFailure& failure);
  void onFeedEnded(FlvInput& input, ConnectionError error, const std::string& text);
  void poll(Pipeline& pipeline);
  void checkReplies();
  void fail(const std::string& text);
};

// All running attempts.
struct PlayAttempt::Running {
  Mutex mutex;
  ConditionVariable changed;
  std::set<State*> states NIMBO_GUARDED_BY(mutex);
  bool isShutDown NIMBO_GUARDED_BY(mutex) = false;

  static Running& instance() {
    static NeverDestroyed<Running> running;
    return *running;
  }

  // Returns whether it may run.
  bool add(State* state) {
    const MutexLock lock(mutex);
    return !isShutDown && states.insert(state).second;
  }

  void remove(State* state) {
    const MutexLock lock(mutex);
    states.erase(state);
    changed.notify_all();
  }

  // Threads that hang in the network are detached.
  void stopAll() {
    constexpr std::chrono::milliseconds kTimeout{500};
    MutexLock lock(mutex);
    isShutDown = true;
    for (State* state : states) state->requestStop();
    changed.wait_for(lock, kTimeout, [this]() NIMBO_REQUIRES(mutex) { return states.empty(); });
  }
};

void PlayAttempt::State::run() {
  if (!Running::instance().add(this)) return;
  const PlayOutcome outcome = work();
  access.reset();  // it shares this
  notify([&](OverCallback& callback) { callback(outcome); });
  Running::instance().remove(this);
}

PlayOutcome PlayAttempt::State::work() {
  auto onMessage = [self = shared_from_this()](const PipelineMessage& message) {
    if (message.kind == Kind::kProgress) {
      if (self->sockets) self->sockets->adoptThread();
      return;
    }
    self->send(message);
  };
  access = FetchAccess::open(sources, [self = shared_from_this()](const FetchFailure& failure) {
    self->onFetchFailed(failure);
  });
  std::string fetchUri;
  if (auto refusal = chooseSource(fetchUri)) return *refusal;
  if (url.protocol == PlayProtocol::kRtsp) {
    sockets =
        std::make_shared<SourceSockets>([weak = weak_from_this()](const std::string& refusal) {
          if (const auto self = weak.lock()) self->fail(refusal);
        });
  }
  std::unique_ptr<RtmpFeed> feed;  // destroyed after the pipeline, into which it pushes
  std::optional<DelayedCut> cut;   // destroyed after the pipeline, too, which it helps to stop
  const std::unique_ptr<Pipeline> pipeline = buildPlayPipeline(url, fetchUri, output, onMessage);
  if (!pipeline) {
    const auto complete = checkElements(featuresOf(url.protocol));
    return {PlayOutcome::Kind::kFailed, LumoRtc::kLumoLiveErrorComponentMissing,
            complete ? "the pipeline cannot be built" : complete.error().text};
  }
  pipeline->play();  // a failure is reported by a message
  if (url.protocol == PlayProtocol::kRtmp) feed = startFeed(*pipeline);
  PlayOutcome outcome = follow(*pipeline);
  if (feed) feed->stop();
  if (sockets) cut.emplace(sockets, kTeardownTime);
  return outcome;
}

// Sets `fetchUri` for the guarded source. Returns a failure if nothing can be played.
std::optional<PlayOutcome> PlayAttempt::State::chooseSource(std::string& fetchUri) const {
  if (url.protocol == PlayProtocol::kHttp) fetchUri = access->uriOf(url.text);
  if (url.protocol != PlayProtocol::kFile) return std::nullopt;
  const LocalFile file = examineLocalFile(url.text);
  if (file.failure) {
    return PlayOutcome{PlayOutcome::Kind::kFailed, file.failure->code, file.failure->text};
  }
  if (file.isPlaylist) fetchUri = access->uriOf(url.text);
  return std::nullopt;
}

std::unique_ptr<RtmpFeed> PlayAttempt::State::startFeed(Pipeline& pipeline) {
  auto input = std::make_shared<FlvInput>(pipeline);
  return std::make_unique<RtmpFeed>(
      url.rtmp,
      RtmpFeed::Events{
          .onAnswered = [this] { output->answered = true; },
          .onTag = [input](GstPtr<GstBuffer> tag) { input->push(std::move(tag)); },
          .onEnded = [this, input](ConnectionError error,
                                   const std::string& text) { onFeedEnded(*input, error, text); }});
}

void PlayAttempt::State::onFetchFailed(const FetchFailure& failure) {
  const bool playing = output->meter.counts().decoded() > 0;
  const auto code =
      playing && !failure.isFinal ? LumoRtc::kLumoLiveErrorConnectionLost : failure.code;
  const MutexLock lock(mutex);
  if (!sourceFailure) sourceFailure = {PlayOutcome::Kind::kFailed, code, failure.text};
  changed.notify_all();
}

// Received media are still presented.
void PlayAttempt::State::onFeedEnded(FlvInput& input, ConnectionError error,
                                     const std::string& text) {
  if (output->meter.counts().decoded() > 0) return input.end();
  const MutexLock lock(mutex);
  sourceFailure = {PlayOutcome::Kind::kFailed, playErrorCode(error), text};
  changed.notify_all();
}

PlayOutcome PlayAttempt::State::follow(Pipeline& pipeline) {
  bool filled = false;
  while (const auto message = next(pipeline)) {
    switch (message->kind) {
      case Kind::kError:
        return failure(*message);
      case Kind::kEndOfStream:
        drain();
        return {.kind = PlayOutcome::Kind::kEnded, .message = {}};
      case Kind::kProgress:
        break;
      case Kind::kBuffering:
        // At the start, received media are presented while the buffer is still filling.
        filled = filled || message->percent == 100;
        if (filled) {
          gst_element_set_state(pipeline.get(),
                                message->percent < 100 ? GST_STATE_PAUSED : GST_STATE_PLAYING);
        }
        break;
    }
  }
  const MutexLock lock(mutex);
  return stopping ? PlayOutcome() : sourceFailure.value_or(PlayOutcome());
}

// Waits until all decoded media have been presented, or a stop is requested.
void PlayAttempt::State::drain() {
  MutexLock lock(mutex);
  while (!stopping && !output->isDrained()) changed.wait_for(lock, kDrainInterval);
}

PlayOutcome PlayAttempt::State::failure(const PipelineMessage& error) {
  const bool playing = output->meter.counts().decoded() > 0;
  const auto code = classifyPlayError(error, playing);
  // The HLS demultiplexer only reports that something could not be fetched.
  if (const auto last = access->lastFailure()) {
    return {PlayOutcome::Kind::kFailed, playing ? code : last->code, last->text};
  }
  // Some elements do not report the cause.
  if (code == LumoRtc::kLumoLiveErrorPlayRejected) {
    if (const auto cause = findNetworkCause(url)) {
      return {PlayOutcome::Kind::kFailed, cause->code, cause->message};
    }
  }
  std::string text = error.text;
  if (code == LumoRtc::kLumoLiveErrorUndecodable) {
    const auto complete = checkElements(featuresOf(url.protocol));
    if (!complete) text += "; " + complete.error().text;
  }
  return {PlayOutcome::Kind::kFailed, code, text};
}

// Returns the next message; none if asked to stop, or if the source has failed.
std::optional<PipelineMessage> PlayAttempt::State::next(Pipeline& pipeline) {
  MutexLock lock(mutex);
  const auto woken = [this]() NIMBO_REQUIRES(mutex) {
    return stopping || sourceFailure || !messages.empty();
  };
  while (mustPoll() && !changed.wait_for(lock, pollInterval(), woken)) {
    lock.unlock();
    poll(pipeline);
    lock.lock();
  }
  changed.wait(lock, woken);
  if (stopping || sourceFailure) return std::nullopt;
  return takeMessage();
}

bool PlayAttempt::State::mustPoll() const {
  return url.protocol == PlayProtocol::kRtsp || url.protocol == PlayProtocol::kSrt;
}

std::chrono::milliseconds PlayAttempt::State::pollInterval() const {
  return sockets && arrived == 0 ? kReplyPollInterval : kPollInterval;
}

void PlayAttempt::State::fail(const std::string& text) {
  const MutexLock lock(mutex);
  sourceFailure = {PlayOutcome::Kind::kFailed, LumoRtc::kLumoLiveErrorPlayRejected, text};
  changed.notify_all();
}

// A reply that never completes accumulates in the source, which has no limit of its own.
void PlayAttempt::State::checkReplies() {
  const uint64_t received = sockets->receivedBytes();
  const uint64_t now = output->arrival.total();
  if (now != arrived || received < repliedBytes) {
    arrived = now;
    repliedBytes = received;
  }
  const uint64_t most = arrived == 0 ? kMaxReplyBytes : output->limits().maxQueuedBytes;
  if (received - repliedBytes > most) {
    fail(fmt::format("the server sent more than {} bytes, and no media", most));
  }
}

void PlayAttempt::State::poll(Pipeline& pipeline) {
  if (sockets) checkReplies();
  output->meter.setPackets(countPackets(pipeline, url.protocol));
}

// The thread's end is not waited for: it may hang in the network.
PlayAttempt::PlayAttempt(PlayUrl url, const SourceSettings& sources,
                         std::shared_ptr<DecodedMediaSink> output, OverCallback onOver)
    : worker_({.name = "nimbo-player", .endTimeout = std::chrono::milliseconds::zero()},
              std::move(url), sources, std::move(output), std::move(onOver)) {
  if (worker_.hasStarted()) return;
  worker_->notify([](OverCallback& callback) {
    callback({PlayOutcome::Kind::kFailed, LumoRtc::kLumoLiveErrorNoCapacity,
              "no thread can be started"});
  });
}

PlayAttempt::~PlayAttempt() = default;

void PlayAttempt::shutDownAll() {
  Running::instance().stopAll();
}

bool PlayAttempt::areShutDown() {
  const MutexLock lock(Running::instance().mutex);
  return Running::instance().isShutDown;
}

void PlayAttempt::requestStop() {
  worker_->requestStop();
}

}  // namespace NimboEngine
