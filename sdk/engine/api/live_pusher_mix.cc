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
  const Result<MixLayout> layout = makeMixLayout(*config, findMixUser);
  if (!layout) {
    NIMBO_LOG_ERROR("the mix is refused: {}", layout.error().text);
    post([error = layout.error().text](PusherSession& session) { session.refuseMix(error); });
    return layout.error().code;
  }
  return submit([layout = *layout](PusherSession& session) { session.setMix(layout); });
}

}  // namespace NimboEngine
