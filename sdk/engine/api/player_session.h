// Carries out a player's operations after their validation: playback, view, audio output and
// events.
//
// Thread: everything on the engine thread, destruction too; mode() from any.
// Ownership: owns playback and view; the engine thread is given and outlives it, the listeners are
//   shared. Destruction stops everything immediately, without events.
// Failure: reported as events.

#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "api/player_listeners.h"
#include "audio/audio_gain.h"
#include "base/engine_thread.h"
#include "base/sink_list.h"
#include "base/weak_owner_guard.h"
#include "media/frame_consumer.h"
#include "platform/view/view.h"
#include "play/audio_output.h"
#include "play/playback.h"
#include "players/player_registry.h"

namespace NimboEngine {

// A requested playback. `number` distinguishes it from those before and after.
struct PlayRequest {
  uint32_t number = 0;
  PlayUrl url;
};

class PlayerSession {
 public:
  // The output goes to the stream of `registered` too. `onPlayOver(number)` is called before the
  // events of a playback that ended without having been stopped.
  PlayerSession(EngineThread& engine, const PlaySettings& settings,
                std::shared_ptr<PlayerListeners> listeners,
                std::shared_ptr<RegisteredPlayer> registered,
                std::function<void(uint32_t)> onPlayOver);
  ~PlayerSession();
  PlayerSession(const PlayerSession&) = delete;
  PlayerSession& operator=(const PlayerSession&) = delete;

  void configure(const ViewStyle& style);
  void setWindow(std::optional<NativeWindow> window);

  // A playback requested while its predecessor is still stopping starts when that has stopped.
  void startPlay(PlayRequest request);
  void stopPlay();

  void setVolume(unsigned int percent) { gain_.set(percent); }

  LumoRtc::LumoLivePlayMode mode() const { return mode_; }

 private:
  void begin(const PlayRequest& request);
  DecodedMediaSink::Handlers handlers();
  Playback::Events events(const PlayUrl& url);
  void onAudio(const AudioAligner::Piece& piece);
  void onFrame(GstBuffer* buffer, const GstVideoInfo& info);
  void onOver(const PlayOutcome& outcome);
  void showInWindow();
  void closeView();
  void notifyFirstDrawn();
  void onFirstDrawn(uint32_t playNumber);
  void openOutput();
  void showLoudness();

  EngineThread& engine_;
  const PlaySettings settings_;
  const std::shared_ptr<PlayerListeners> listeners_;
  const std::shared_ptr<RegisteredPlayer> registered_;
  const std::function<void(uint32_t)> onPlayOver_;
  const WeakOwnerGuard ownerGuard_;
  // Bound to this object's lifetime.
  const std::function<void(uint32_t)> firstDrawn_;
  const EngineThread::Task firstAudio_;

  ViewStyle style_;
  std::optional<NativeWindow> window_;
  std::atomic<uint32_t> playNumber_{0};
  std::optional<PlayRequest> nextPlay_;

  AudioGain gain_;
  std::atomic<LumoRtc::LumoLivePlayMode> mode_{LumoRtc::kLumoLivePlayModeNone};
  std::atomic<uint64_t> shown_{0};
  std::atomic<bool> waitsForView_{false};
  std::atomic<bool> notifiedFirstDrawn_{true};
  std::atomic<bool> notifiedFirstAudio_{true};
  SinkList<FrameConsumer> consumers_;

  std::unique_ptr<AudioOutput> output_;
  std::unique_ptr<Playback> playback_;  // destroyed before what it uses
  std::unique_ptr<View> view_;          // null without a window
};

}  // namespace NimboEngine
