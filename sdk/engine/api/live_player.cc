#include "api/live_player.h"

#include <fmt/format.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "base/capacity.h"
#include "base/log.h"
#include "base/never_destroyed.h"
#include "base/process_exit.h"
#include "gst/runtime.h"
#include "play/play_attempt.h"

namespace NimboEngine {

using namespace LumoRtc;

namespace {

constexpr int kMaxPlayers = 16;
constexpr unsigned int kLoudest = 400;

std::atomic<int> playerCount{0};

EngineThread& playersThread();

void stopPlayersAtExit() {
  constexpr std::chrono::seconds kTimeout{3};
  PlayAttempt::shutDownAll();
  const auto idle = std::make_shared<std::promise<void>>();
  playersThread().post([idle] { idle->set_value(); });
  idle->get_future().wait_for(kTimeout);
}

// The engine thread of all players: nothing on it may wait for the network. Never destroyed: a
// process may end while it plays.
EngineThread& playersThread() {
  static NeverDestroyed<EngineThread> thread("nimbo-players");
  onProcessExit(ExitStage::kPlayers, stopPlayersAtExit);
  return *thread;
}

}  // namespace

LivePlayer::LivePlayer(const Settings& settings)
    : sources_(settings.play.sources),
      play_(std::make_shared<std::atomic<uint32_t>>(0)),
      listeners_(std::make_shared<PlayerListeners>(this)),
      registered_(std::make_shared<RegisteredPlayer>(this)),
      session_(std::make_shared<PlayerSession>(
          playersThread(), settings.play, listeners_, registered_,
          [play = play_](uint32_t number) { play->compare_exchange_strong(number, 0); })) {
  playersThread().post(startGstreamer);
}

LivePlayer::~LivePlayer() {
  listeners_->detachAll();
  registered_->withdraw();
  playersThread().post([session = std::move(session_)]() mutable { session.reset(); });
  --playerCount;
}

LumoLiveResult LivePlayer::post(SessionTask task) {
  playersThread().post([session = session_.get(), task = std::move(task)] { task(*session); });
  return kLumoLiveOk;
}

int LivePlayer::initPlayer(LumoLivePlayerConfig config) {
  if (config.renderMode > kLumoLiveRenderModeStretch || config.rotation > kLumoLiveRotation270) {
    NIMBO_LOG_ERROR("the player's configuration is refused: render mode {}, rotation {}",
                    static_cast<uint32_t>(config.renderMode),
                    static_cast<uint32_t>(config.rotation));
    return kLumoLiveInvalidArgument;
  }
  const ViewStyle style{.mode = static_cast<ViewMode>(config.renderMode),
                        .mirror = config.isMirror,
                        .quarterTurns = static_cast<int>(config.rotation)};
  return post([style](PlayerSession& session) { session.configure(style); });
}

// The view follows the window's own size, so the one given here does not matter.
int LivePlayer::setPlayView(void* view, uint32_t, uint32_t) {
  const std::optional<NativeWindow> window = readNativeWindow(view);
  return post([window](PlayerSession& session) { session.setWindow(window); });
}

int LivePlayer::startPlay(const char* url) {
  if (*play_ != 0) {
    NIMBO_LOG_ERROR("the player plays already");
    return kLumoLiveInvalidState;
  }
  Result<PlayUrl> target = parsePlayUrl(url, sources_.srtListener);
  if (!target) {
    NIMBO_LOG_ERROR("cannot play: {}", target.error().text);
    return target.error().code;
  }
  const uint32_t number = ++lastPlay_;
  *play_ = number;
  registered_->setUrl(url);
  return post([request = PlayRequest{number, std::move(*target)}](PlayerSession& session) {
    session.startPlay(request);
  });
}

int LivePlayer::stopPlay() {
  if (play_->exchange(0) == 0) {
    NIMBO_LOG_ERROR("the player does not play");
    return kLumoLiveInvalidState;
  }
  registered_->setUrl("");
  return post([](PlayerSession& session) { session.stopPlay(); });
}

void LivePlayer::destroy() {
  delete this;
}

int LivePlayer::setRemoteAudioVolume(unsigned int volume) {
  if (volume > kLoudest) {
    NIMBO_LOG_ERROR("the volume is {}, not 0 to {}", volume, kLoudest);
    return kLumoLiveInvalidArgument;
  }
  return post([volume](PlayerSession& session) { session.setVolume(volume); });
}

void LivePlayer::setPlayInfoListener(LumoLivePlayInfoListener* listener) {
  listeners_->infoSlot.set(listener);
}

void LivePlayer::setVideoFrameListener(LumoLiveVideoFrameListener* listener) {
  listeners_->frameSlot.set(listener);
}

int LivePlayer::getPlayMode() {
  return session_->mode();
}

}  // namespace NimboEngine

namespace LumoRtc {

LumoLivePlayer* LumoLivePlayer::Create(const char* extraConfig) {
  const auto refuse = [](const std::string& error) -> LumoLivePlayer* {
    NIMBO_LOG_ERROR("no player: {}", error);
    return nullptr;
  };
  const auto settings = NimboEngine::parseSettings(extraConfig);
  if (!settings) return refuse("the settings cannot be used: " + settings.error().text);
  const auto capacity = NimboEngine::checkCapacity();
  if (!capacity) return refuse(capacity.error().text);
  const auto applied = NimboEngine::applySettings(*settings);
  if (!applied) return refuse("the settings cannot be used: " + applied.error().text);
  if (++NimboEngine::playerCount > NimboEngine::kMaxPlayers) {
    --NimboEngine::playerCount;
    return refuse(fmt::format("there are {} already", NimboEngine::kMaxPlayers));
  }
  try {
    return new NimboEngine::LivePlayer(*settings);
  } catch (const std::system_error& exception) {
    --NimboEngine::playerCount;
    return refuse(exception.what());
  }
}

}  // namespace LumoRtc
