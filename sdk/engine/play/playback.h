// One playback, from the request to its end: attempts to play (see PlayAttempt), their stall
// detection, retries when a live stream is lost, and the statistics of every second.
//
// Thread: created, stopped and destroyed on the engine thread, where the events are raised too; the
//   handlers of frames and audio are called on the presenter's thread.
// Ownership: owns the running attempt. Destruction ends everything without an event and without
//   waiting for the network; after it no handler runs.
// Failure: onOver, after which only destruction is left. It must not happen inside an event.

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/engine_thread.h"
#include "base/weak_owner_guard.h"
#include "play/decoded_media_sink.h"
#include "play/network_rating.h"
#include "play/play_attempt.h"
#include "play/play_settings.h"
#include "play/play_url.h"
#include "play/retry_plan.h"
#include "play/stall_detector.h"

namespace NimboEngine {

class Playback {
 public:
  struct Events {
    // The first frame or audio has been decoded; called before its handler.
    std::function<void()> onStarted;
    // A live stream broke and is retried; no frame or audio is delivered until then.
    std::function<void()> onLost;
    std::function<void(const PlayOutcome&)> onOver;
    std::function<void(LumoRtc::LumoLiveNetworkQuality)> onQuality;
    // Once a second from the start on.
    std::function<void(const LumoRtc::LumoLivePlayerStatsInfo&)> onStatistics;
    // A query: returns how many frames have been shown since the start. May be called on any
    // thread.
    std::function<uint64_t()> shown;
  };

  Playback(EngineThread& engine, PlayUrl url, const PlaySettings& settings,
           DecodedMediaSink::Handlers handlers, Events events);
  ~Playback();
  Playback(const Playback&) = delete;
  Playback& operator=(const Playback&) = delete;

  // onOver follows, within half a second whatever the network does.
  void stop();

  // Returns whether it is presented as it arrives, once it has started.
  bool isLive() const { return live_; }

 private:
  using Clock = EngineThread::Clock;

  DecodedMediaSink::Handlers watchedHandlers();
  void open();
  void close();
  void onFirstOutput();
  void onAttemptOver(const PlayOutcome& outcome);
  void onAttemptFailed(LumoRtc::LumoLiveErrorCode code, const std::string& message);
  void over(const PlayOutcome& outcome);
  void tick();
  void reportSecond(Clock::time_point now);
  void logPresentation(Clock::time_point now, const PlayCounts& counts);
  NetworkRating::Second lastSecond(Clock::time_point now, const PlayCounts& counts);

  EngineThread& engine_;
  const PlayUrl url_;
  const PlaySettings settings_;
  const DecodedMediaSink::Handlers handlers_;
  const Events events_;

  bool started_ = false;
  bool live_ = false;  // known once it has started
  bool stopping_ = false;
  bool over_ = false;
  RetryPlan retry_;
  NetworkRating rating_;
  std::optional<StallDetector> watch_;
  Clock::time_point lastReport_;
  Clock::time_point lastLog_;
  PlayCounts lastCounts_;

  std::shared_ptr<DecodedMediaSink> output_;
  std::unique_ptr<PlayAttempt> runner_;
  WeakOwnerGuard ownerGuard_;
};

}  // namespace NimboEngine
