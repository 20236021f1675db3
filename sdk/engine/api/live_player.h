// Implements the interface's player: each operation checks its arguments and the state, posts the
// work to the players' engine thread and returns at once.
//
// Thread: operations on one thread at a time, never from a listener's callback.
// Ownership: the application releases it with destroy(), which detaches the listeners and leaves
//   the rest to the engine thread; no callback follows.
// Failure: operations return a LumoLiveResult; later failures arrive as events.

#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLiveResult.h"
#include "api/player_session.h"
#include "api/settings.h"
#include "players/player_registry.h"

namespace NimboEngine {

class LivePlayer final : public LumoRtc::LumoLivePlayer {
 public:
  explicit LivePlayer(const Settings& settings);
  ~LivePlayer();
  LivePlayer(const LivePlayer&) = delete;
  LivePlayer& operator=(const LivePlayer&) = delete;

  // `isFullScreen` makes no difference here: a view fills the window that it is given.
  int initPlayer(LumoRtc::LumoLivePlayerConfig config) override;
  int setPlayView(void* view, uint32_t width, uint32_t height) override;
  int startPlay(const char* url) override;
  int stopPlay() override;
  void destroy() override;
  int setRemoteAudioVolume(unsigned int volume) override;
  void setPlayInfoListener(LumoRtc::LumoLivePlayInfoListener* listener) override;
  void setVideoFrameListener(LumoRtc::LumoLiveVideoFrameListener* listener) override;
  int getPlayMode() override;

 private:
  using SessionTask = std::function<void(PlayerSession&)>;

  LumoRtc::LumoLiveResult post(SessionTask task);

  const SourceSettings sources_;
  uint32_t lastPlay_ = 0;
  // The requested playback; the engine clears it when it has ended.
  const std::shared_ptr<std::atomic<uint32_t>> play_;
  const std::shared_ptr<PlayerListeners> listeners_;
  const std::shared_ptr<RegisteredPlayer> registered_;
  // Used on the engine thread, where it ends too, after all tasks that were posted before.
  std::shared_ptr<PlayerSession> session_;
};

}  // namespace NimboEngine
