#include "scripted_sdk/player.h"

#include "scripted_sdk/records.h"
#include "scripted_sdk/registry.h"

namespace ScriptedSdk {

Call Player::call(const char* name, Json args) const {
  Call made(name, this, std::move(args));
  if (!Registry<Player>::instance().isAlive(*this)) made.markDestroyed();
  return made;
}

int Player::initPlayer(LumoRtc::LumoLivePlayerConfig config) {
  return call("player.initPlayer", {{"config", recordJson(config)}}).integer();
}

int Player::setPlayView(void* view, uint32_t width, uint32_t height) {
  return call("player.setPlayView",
              {{"view", pointerJson(view)}, {"width", width}, {"height", height}})
      .integer();
}

int Player::startPlay(const char* url) {
  return call("player.startPlay", {{"url", textJson(url)}}).integer();
}

int Player::stopPlay() {
  return call("player.stopPlay").integer();
}

void Player::destroy() {
  call("player.destroy");
  Registry<Player>::instance().retire(*this);
  infoListener.set(nullptr);
  frameListener.set(nullptr);
}

int Player::setRemoteAudioVolume(unsigned int volume) {
  return call("player.setRemoteAudioVolume", {{"volume", volume}}).integer();
}

void Player::setPlayInfoListener(LumoRtc::LumoLivePlayInfoListener* listener) {
  call("player.setPlayInfoListener", {{"listener", pointerJson(listener)}});
  infoListener.set(listener);
}

void Player::setVideoFrameListener(LumoRtc::LumoLiveVideoFrameListener* listener) {
  call("player.setVideoFrameListener", {{"listener", pointerJson(listener)}});
  frameListener.set(listener);
}

int Player::getPlayMode() {
  return call("player.getPlayMode").integer();
}

}  // namespace ScriptedSdk

LumoRtc::LumoLivePlayer* LumoRtc::LumoLivePlayer::Create(const char* extraConfig) {
  using ScriptedSdk::Player;
  ScriptedSdk::Call call("player.Create", nullptr,
                         {{"extraConfig", ScriptedSdk::textJson(extraConfig)}});
  LumoLivePlayer* const player =
      call.answer().is_null() ? nullptr : ScriptedSdk::Registry<Player>::instance().create();
  call.recordResult(ScriptedSdk::pointerJson(player));
  return player;
}
