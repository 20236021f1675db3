// Control of an existing player. The player is looked up first, so the lookup's own log line and
// the null entry that it inserts come before the check of further arguments.

#include "wrapper/method_support.h"
#include "wrapper/view_options.h"

namespace LumoLivePushElectronSDK {
namespace {

using LumoRtc::LumoLivePlayer;

// `accepts` checks the arguments after the player ID; `operation` takes the player.
template <typename Accepts, typename Operation>
void CallPlayer(const Arguments& args, CallSite site, const char* failureMessage, int failure,
                Accepts accepts, Operation operation) {
  auto* player = LumoLivePushJSWrapper::GetPlayerInstanceByPlayerID(args);
  if (!player || !accepts()) return Refuse(args, site, failure, failureMessage);
  SetResult(args, operation(*player));
}

bool Always() {
  return true;
}

}  // namespace

void LumoLivePushJSWrapper::SetPlayView(const Arguments& args) {
  // Deliberate: the message starts in lower case, unlike its siblings'.
  constexpr char kMessage[] = "setPlayView";
  auto* player = GetPlayerInstanceByPlayerID(args);
  if (!player || args.Length() < 2 || !args[1]->IsObject()) {
    return Refuse(args, LUMO_HERE, kFailed, kMessage);
  }
  ViewOptions options;
  ReadOptions(args.GetIsolate(), args[1], kViewKeys, options);
  // A getter may have destroyed the player.
  if (!Find(args)->HasPlayer(player)) return Refuse(args, LUMO_HERE, kFailed, kMessage);
  SetResult(args,
            player->setPlayView(options.Handle(args.GetIsolate()), options.width, options.height));
}

void LumoLivePushJSWrapper::StartPlay(const Arguments& args) {
  CallPlayer(
      args, LUMO_HERE, "StartPlay", kFailed,
      [&args] { return args.Length() >= 2 && args[1]->IsString(); },
      [&args](LumoLivePlayer& player) { return player.startPlay(StringAt(args, 1).c_str()); });
}

void LumoLivePushJSWrapper::StopPlay(const Arguments& args) {
  CallPlayer(args, LUMO_HERE, "StopPlay", kFailed, Always,
             [](LumoLivePlayer& player) { return player.stopPlay(); });
}

void LumoLivePushJSWrapper::SetRemoteAudioVolume(const Arguments& args) {
  CallPlayer(
      args, LUMO_HERE, "SetRemoteAudioVolume", kFailed,
      [&args] { return args.Length() >= 2 && args[1]->IsNumber(); },
      [&args](LumoLivePlayer& player) { return player.setRemoteAudioVolume(UIntAt(args, 1)); });
}

void LumoLivePushJSWrapper::GetPlayMode(const Arguments& args) {
  CallPlayer(args, LUMO_HERE, "GetPlayMode", kNoPlayMode, Always,
             [](LumoLivePlayer& player) { return player.getPlayMode(); });
}

}  // namespace LumoLivePushElectronSDK
