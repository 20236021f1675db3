// initPlayer and destroyPlayer, and the map of players.

#include "wrapper/lumolivelistener_js_wrapper.h"
#include "wrapper/method_support.h"

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::LumoLivePlayer;
using LumoRtc::LumoLivePlayerConfig;

constexpr OptionTable<LumoLivePlayerConfig, 4> kPlayerKeys{
    option<&LumoLivePlayerConfig::isMirror>("isMirror"),
    option<&LumoLivePlayerConfig::isFullScreen>("isFullScreen"),
    option<&LumoLivePlayerConfig::renderMode>("renderMode"),
    option<&LumoLivePlayerConfig::rotation>("rotation"),
};

}  // namespace

// ------------------------------------------------------------------------------- the player map

LumoLivePlayer* LumoLivePushJSWrapper::GetNewPlayerInstance(const Arguments& args) {
  auto* wrapper = Find(args);
  auto* player = wrapper ? LumoLivePlayer::Create(wrapper->mExtraConfig.c_str()) : nullptr;
  if (!player) {
    LogFailure(LUMO_HERE, "Create livePlayer failed");
    return nullptr;
  }
  wrapper->mPlayers[GET_PLAYER_ID(player)] = player;
  return player;
}

LumoLivePlayer* LumoLivePushJSWrapper::GetPlayerInstanceByPlayerID(const Arguments& args) {
  auto* wrapper = FirstIsString(args) ? Find(args) : nullptr;
  auto* player = wrapper ? wrapper->GetLivePlayer(StringAt(args, 0)) : nullptr;
  if (!player) LogFailure(LUMO_HERE, "Get livePlayer failed");
  return player;
}

LumoLivePlayer* LumoLivePushJSWrapper::GetLivePlayer(const std::string& playerId) {
  if (playerId.empty()) return nullptr;
  return mPlayers[playerId];  // deliberate: a miss leaves a null entry
}

bool LumoLivePushJSWrapper::HasPlayer(LumoLivePlayer* player) const {
  const auto found = mPlayers.find(GET_PLAYER_ID(player));
  return found != mPlayers.end() && found->second == player;
}

void LumoLivePushJSWrapper::DestroyPlayer(LumoLivePlayer* player) {
  if (!player) return;
  player->setPlayInfoListener(nullptr);
  player->setVideoFrameListener(nullptr);
  player->destroy();
}

// ---------------------------------------------------------------------------------- the methods

void LumoLivePushJSWrapper::InitPlayer(const Arguments& args) {
  if (!FirstIsObject(args)) return Refuse(args, LUMO_HERE, Undefined{});
  auto* player = GetNewPlayerInstance(args);
  if (!player) return SetResult(args, "");
  LumoLivePlayerConfig config;
  ReadOptions(args.GetIsolate(), args[0], kPlayerKeys, config);
  auto* wrapper = Find(args);
  // A getter may have destroyed the player; its ID was not returned yet, but it can be guessed.
  if (!wrapper->HasPlayer(player)) return SetResult(args, "");
  player->initPlayer(config);
  if (auto* listener = wrapper->mEventListener.get()) {
    player->setPlayInfoListener(listener);
    player->setVideoFrameListener(listener);
  }
  SetResult(args, GET_PLAYER_ID(player));
}

void LumoLivePushJSWrapper::DestroyPlayer(const Arguments& args) {
  auto* player = GetPlayerInstanceByPlayerID(args);
  if (!player) return LogFailure(LUMO_HERE, "Destroy failed: can't find instance");
  const std::string playerId = GET_PLAYER_ID(player);
  DestroyPlayer(player);
  Find(args)->mPlayers.erase(playerId);
}

}  // namespace LumoLivePushElectronSDK
