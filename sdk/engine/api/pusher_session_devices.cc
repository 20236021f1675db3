// PusherSession's changes of cameras and microphones, and the replacement of lost ones.

#include <fmt/format.h>

#include <chrono>
#include <utility>

#include "api/pusher_session.h"

namespace NimboEngine {

using namespace LumoRtc;

namespace {

// Slow cameras take seconds. For one that hangs there is no other signal.
constexpr std::chrono::seconds kOpening{10};

}  // namespace

void PusherSession::watchDevices() {
  auto unplugged = ownerGuard_.bind([this](DeviceKind kind, const DeviceId& id) {
    replaceDevice(kind, id, DeviceSelection::Cause::kUnplugged, "was unplugged");
  });
  unplugWatch_ =
      std::make_unique<UnplugWatch>([this, unplugged](DeviceKind kind, const DeviceId& id) {
        engine_.post([unplugged, kind, id]() mutable { unplugged(kind, id); });
      });
}

void PusherSession::useDevices() {
  if (!capture_) return;
  const DeviceSelection::Sources sources = devices_.sources();
  capture_->setDevices(sources.camera, sources.microphone);
  watchOpening();
}

void PusherSession::watchOpening() {
  engine_.postAfter(kOpening, ownerGuard_.bind([this] {
    if (!capture_) return;
    const DeviceSelection::Sources sources = devices_.sources();
    for (const auto& [kind, id] : {std::pair(DeviceKind::kCamera, sources.camera),
                                   std::pair(DeviceKind::kMicrophone, sources.microphone)}) {
      if (id.isPluggable() && capture_->hasHung(kind, kOpening)) {
        sourceFailed(kind, id, "it does not start");
      }
    }
  }));
}

void PusherSession::sourceFailed(DeviceKind kind, const DeviceId& id, const std::string& message) {
  const bool isCamera = kind == DeviceKind::kCamera;
  const DeviceSelection::Sources sources = devices_.sources();
  if (id != (isCamera ? sources.camera : sources.microphone)) return;  // replaced in the meantime
  if (replaceDevice(kind, id, DeviceSelection::Cause::kFailed, "failed: " + message)) return;
  listeners_.systemError(isCamera ? kLumoLiveErrorCameraFailed : kLumoLiveErrorMicrophoneFailed,
                         message);
}

// Returns false if another device is in use anyway, or there is no replacement.
bool PusherSession::replaceDevice(DeviceKind kind, const DeviceId& id, DeviceSelection::Cause cause,
                                  const std::string& message) {
  const auto loss = devices_.lose(kind, id, cause);
  if (!loss) return false;
  const bool isCamera = kind == DeviceKind::kCamera;
  // A sound server continues with another microphone, which was not chosen.
  if (capture_ && !isCamera) capture_->dropMicrophone();
  useDevices();
  listeners_.sdkError(
      isCamera ? kLumoLiveErrorCameraLost : kLumoLiveErrorMicrophoneLost,
      fmt::format("{} \"{}\" {}; \"{}\" is used instead", isCamera ? "camera" : "microphone",
                  loss->lost.name, message, loss->next.name));
  return true;
}

}  // namespace NimboEngine
