#include "api/player_session.h"

#include <utility>

#include "base/capacity.h"
#include "base/interned_texts.h"
#include "base/log.h"
#include "gst/runtime.h"

namespace NimboEngine {

using namespace LumoRtc;

PlayerSession::PlayerSession(EngineThread& engine, const PlaySettings& settings,
                             std::shared_ptr<PlayerListeners> listeners,
                             std::shared_ptr<RegisteredPlayer> registered,
                             std::function<void(uint32_t)> onPlayOver)
    : engine_(engine),
      settings_(settings),
      listeners_(std::move(listeners)),
      registered_(std::move(registered)),
      onPlayOver_(std::move(onPlayOver)),
      firstDrawn_(ownerGuard_.bind([this](uint32_t playNumber) { onFirstDrawn(playNumber); })),
      firstAudio_(ownerGuard_.bind([this] { openOutput(); })) {}

PlayerSession::~PlayerSession() {
  registered_->setInaudible();
  playback_.reset();
  registered_->stream()->clear();
  closeView();
}

// ---------------------------------------------------------------------------------------- view

void PlayerSession::configure(const ViewStyle& style) {
  style_ = style;
  if (view_) showInWindow();
}

void PlayerSession::setWindow(std::optional<NativeWindow> window) {
  window_ = window;
  if (playback_) showInWindow();
}

void PlayerSession::showInWindow() {
  closeView();
  if (!window_) return;
  waitsForView_ = true;
  auto lost = ownerGuard_.bind(
      [this](const std::string& message) { listeners_->error(kLumoLiveErrorViewLost, message); });
  view_ = openView(*window_,
                   ViewEvents{.onFirstDrawn = [this] { notifyFirstDrawn(); },
                              .onLost =
                                  [this, lost](const std::string& message) {
                                    waitsForView_ = false;  // the next frame counts as shown
                                    engine_.post([lost, message]() mutable { lost(message); });
                                  },
                              .onDrawn = [this] { ++shown_; }},
                   style_);
  consumers_.add(view_.get());
}

void PlayerSession::closeView() {
  if (view_) consumers_.remove(view_.get());
  view_.reset();
  waitsForView_ = false;
}

// Called on the thread that showed the frame.
void PlayerSession::notifyFirstDrawn() {
  if (notifiedFirstDrawn_.load(std::memory_order_relaxed) || notifiedFirstDrawn_.exchange(true))
    return;
  engine_.post([notify = firstDrawn_, number = playNumber_.load()] { notify(number); });
}

// By then another playback may have begun.
void PlayerSession::onFirstDrawn(uint32_t playNumber) {
  if (!playback_ || playNumber != playNumber_) return;
  listeners_->info(&LumoLivePlayInfoListener::onFirstVideoFrameDrawn);
}

// ------------------------------------------------------------------------------------ playback

void PlayerSession::startPlay(PlayRequest request) {
  if (playback_) {
    nextPlay_ = std::move(request);
  } else {
    begin(request);
  }
}

void PlayerSession::begin(const PlayRequest& request) {
  playNumber_ = request.number;
  notifiedFirstDrawn_ = false;
  notifiedFirstAudio_ = false;
  if (const auto capacity = checkCapacity(); !capacity) {
    onPlayOver_(playNumber_);
    return listeners_->error(capacity.error().code, capacity.error().text);
  }
  output_ = std::make_unique<AudioOutput>();
  showInWindow();
  playback_ =
      std::make_unique<Playback>(engine_, request.url, settings_, handlers(), events(request.url));
}

DecodedMediaSink::Handlers PlayerSession::handlers() {
  return {.onFrame = [this](GstBuffer* buffer, const GstVideoInfo& info) { onFrame(buffer, info); },
          .onAudio = [this](const AudioAligner::Piece& piece) { onAudio(piece); }};
}

Playback::Events PlayerSession::events(const PlayUrl& url) {
  // Receivers may keep the pointers.
  const char* stream = internText(url.stream);
  const char* channel = internText(url.channel);
  return {.onStarted =
              [this] {
                mode_ = playback_->isLive() ? kLumoLivePlayModeLive : kLumoLivePlayModeTimed;
                listeners_->info(&LumoLivePlayInfoListener::onPlayStarted);
                showLoudness();
              },
          .onLost = [this] { registered_->stream()->clear(); },
          .onOver = [this](const PlayOutcome& outcome) { onOver(outcome); },
          .onQuality = [this](LumoLiveNetworkQuality quality) { listeners_->quality(quality); },
          .onStatistics =
              [this, stream, channel](LumoLivePlayerStatsInfo statistics) {
                statistics.userId = stream;
                statistics.channelId = channel;
                listeners_->statistics(statistics);
              },
          .shown = [this] { return shown_.load(); }};
}

// On the playback's thread.
void PlayerSession::onFrame(GstBuffer* buffer, const GstVideoInfo& info) {
  listeners_->videoFrame(buffer, info);
  consumers_.each([&](FrameConsumer& consumer) { consumer.onVideoFrame(buffer, info, 0); });
  registered_->stream()->putFrame(buffer, info);
  if (waitsForView_) return;
  ++shown_;
  notifyFirstDrawn();
}

// On the playback's thread.
void PlayerSession::onAudio(const AudioAligner::Piece& piece) {
  gain_.apply(piece.samples.data(), piece.samples.size());
  registered_->meter().measure(piece.samples.data(), piece.samples.size(), kPlayedAudio);
  output_->push(piece);
  registered_->stream()->putAudio(piece);
  if (!notifiedFirstAudio_.load(std::memory_order_relaxed) && !notifiedFirstAudio_.exchange(true)) {
    engine_.post(firstAudio_);
  }
}

// A stream without audio needs no output.
void PlayerSession::openOutput() {
  if (playback_) output_->open();
}

// From now on this player has a record in volume reports.
void PlayerSession::showLoudness() {
  auto notifyVolume = ownerGuard_.bind([this](const LumoLiveUserVolumeInfo& record) {
    if (playback_) listeners_->volume(record);
  });
  auto notifyActiveSpeaker = ownerGuard_.bind([this] {
    if (playback_) listeners_->activeSpeaker();
  });
  registered_->setAudible(
      {.onVolume =
           [&engine = engine_, notifyVolume](const LumoLiveUserVolumeInfo& record) {
             engine.post([notify = notifyVolume, record]() mutable { notify(record); });
           },
       .onActiveSpeaker = [&engine = engine_,
                           notifyActiveSpeaker] { engine.post(notifyActiveSpeaker); }});
}

void PlayerSession::stopPlay() {
  if (nextPlay_) {  // it has not begun yet
    nextPlay_.reset();
    listeners_->info(&LumoLivePlayInfoListener::onPlayStopped);
  } else if (playback_) {
    playback_->stop();
    registered_->stream()->clear();
  } else {  // it ended by itself just before: the stop is answered all the same
    listeners_->info(&LumoLivePlayInfoListener::onPlayStopped);
  }
}

void PlayerSession::onOver(const PlayOutcome& outcome) {
  // Destroyed later, since this runs in its callback.
  engine_.post([ended = std::shared_ptr<Playback>(std::move(playback_))] {});
  registered_->setInaudible();
  closeView();
  registered_->stream()->clear();
  output_.reset();
  mode_ = kLumoLivePlayModeNone;
  if (outcome.kind != PlayOutcome::Kind::kStopped) onPlayOver_(playNumber_);
  if (outcome.kind == PlayOutcome::Kind::kFailed) {
    listeners_->error(outcome.code, outcome.message);
  } else {
    listeners_->info(&LumoLivePlayInfoListener::onPlayStopped);
  }
  if (!nextPlay_) return;
  const PlayRequest next = std::move(*nextPlay_);
  nextPlay_.reset();
  begin(next);
}

}  // namespace NimboEngine
