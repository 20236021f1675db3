// Sharing a screen or window instead of the camera.

#include <algorithm>
#include <string>

#include "api/live_pusher.h"
#include "api/push_parameters.h"
#include "api/screen_source_list.h"
#include "base/log.h"
#include "platform/screen/screen.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

bool canBeShared(ScreenId id) {
  const auto sources = listScreenSources();
  return std::any_of(sources.begin(), sources.end(),
                     [id](const ScreenSource& source) { return source.id == id; });
}

}  // namespace

LumoLiveScreenSourceList* LivePusher::getScreenShareSourceInfo() {
  return ScreenSourceList::make(listScreenSources());
}

int LivePusher::startScreenShareByDesktopId(uint32_t sourceId) {
  if (initialized_ && parameters_.encoder.audioOnly) {
    NIMBO_LOG_ERROR("no screen can be shared: only audio is captured");
    return kLumoLiveInvalidState;
  }
  const ScreenId screen{sourceId};
  if (initialized_ && !canBeShared(screen)) {
    NIMBO_LOG_ERROR("there is no screen or window {:#x}", sourceId);
    return kLumoLiveNotFound;
  }
  const LumoLiveResult result =
      submit([screen](PusherSession& session) { session.shareScreen(screen); });
  if (result == kLumoLiveOk) sharedScreen_ = sourceId;
  return result;
}

int LivePusher::switchScreenToCamera() {
  return submitWhileSharing([](PusherSession& session) { session.stopScreen(); }, 0);
}

int LivePusher::pauseScreenShare() {
  return submitWhileSharing([](PusherSession& session) { session.setScreenPaused(true); },
                            sharedScreen_);
}

int LivePusher::resumeScreenShare() {
  return submitWhileSharing([](PusherSession& session) { session.setScreenPaused(false); },
                            sharedScreen_);
}

LumoLiveResult LivePusher::submitWhileSharing(SessionTask task, uint32_t sharedAfterwards) {
  if (initialized_ && sharedScreen_ == 0) {
    NIMBO_LOG_ERROR("no screen is shared");
    return kLumoLiveInvalidState;
  }
  sharedScreen_ = sharedAfterwards;
  return submit(std::move(task));
}

uint32_t LivePusher::getCurrentScreenShareSourceId() {
  return sharedScreen_;
}

int LivePusher::setScreenShareEncoderConfiguration(const LumoLiveScreenShareEncoderConfig* config) {
  if (!config) {
    NIMBO_LOG_ERROR("there is no configuration");
    return kLumoLiveInvalidArgument;
  }
  const Result<EncoderSettings> encoder = makeScreenEncoder(*config, {});
  if (!encoder) {
    NIMBO_LOG_ERROR("the screen's configuration is refused: {}", encoder.error().text);
    return encoder.error().code;
  }
  screenConfig_ = *config;
  post([encoder = *encoder](PusherSession& session) { session.setScreenEncoder(encoder); });
  return kLumoLiveOk;
}

LumoLiveScreenShareEncoderConfig LivePusher::getScreenShareEncoderConfiguration() {
  return screenConfig_;
}

}  // namespace NimboEngine
