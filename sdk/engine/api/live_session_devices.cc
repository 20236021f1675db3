// Changing cameras and microphones, and what happens when one is lost.

#include <fmt/format.h>

#include "api/live_session.h"

namespace NimboEngine {

using namespace LumoRtc;

void LiveSession::watchDevices() {
  auto unplugged = lifeline_.bind([this](DeviceKind kind, const std::string& id) {
    replaceDevice(kind, id, DeviceSelection::Cause::kUnplugged, "was unplugged");
  });
  unplugWatch_ =
      std::make_unique<UnplugWatch>([this, unplugged](DeviceKind kind, const std::string& id) {
        engine_.post([unplugged, kind, id]() mutable { unplugged(kind, id); });
      });
}

void LiveSession::useDevices() {
  if (!capture_) return;
  const DeviceSelection::Sources sources = devices_.sources();
  capture_->setDevices(sources.camera, sources.microphone);
}

void LiveSession::sourceFailed(DeviceKind kind, const std::string& id, const std::string& message) {
  const bool isCamera = kind == DeviceKind::kCamera;
  const DeviceSelection::Sources sources = devices_.sources();
  if (id != (isCamera ? sources.camera : sources.microphone)) return;  // replaced in the meantime
  if (replaceDevice(kind, id, DeviceSelection::Cause::kFailed, "failed: " + message)) return;
  listeners_.systemError(isCamera ? kLumoLiveErrorCameraFailed : kLumoLiveErrorMicrophoneFailed,
                         message);
}

// False when another device is used anyway, or nothing can be used instead.
bool LiveSession::replaceDevice(DeviceKind kind, const std::string& id,
                                DeviceSelection::Cause cause, const std::string& message) {
  const auto loss = devices_.lose(kind, id, cause);
  if (!loss) return false;
  const bool isCamera = kind == DeviceKind::kCamera;
  // A sound server goes on with another microphone, which nobody has chosen.
  if (capture_ && !isCamera) capture_->dropMicrophone();
  useDevices();
  listeners_.sdkError(
      isCamera ? kLumoLiveErrorCameraLost : kLumoLiveErrorMicrophoneLost,
      fmt::format("{} \"{}\" {}; \"{}\" is used instead", isCamera ? "camera" : "microphone",
                  loss->lost.name, message, loss->next.name));
  return true;
}

}  // namespace NimboEngine
