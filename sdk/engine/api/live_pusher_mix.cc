// Mixing the local stream with those that players play.

#include <optional>
#include <string>

#include "api/live_pusher.h"
#include "base/log.h"
#include "mix/mix_user.h"

namespace NimboEngine {

using namespace LumoRtc;

int LivePusher::setLiveMixTranscodingConfig(const LumoLiveTranscodingConfig* config) {
  if (!config || !initialized_) {
    return submit([](PusherSession& session) { session.setMix(std::nullopt); });
  }
  MixLayout layout;
  std::string error;
  const LumoLiveResult result = makeMixLayout(*config, findMixUser, layout, error);
  if (result != kLumoLiveOk) {
    NIMBO_LOG_ERROR("the mix is refused: {}", error);
    post([error](PusherSession& session) { session.refuseMix(error); });
    return result;
  }
  return submit([layout](PusherSession& session) { session.setMix(layout); });
}

}  // namespace NimboEngine
