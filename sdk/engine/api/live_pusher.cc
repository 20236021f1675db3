#include "api/live_pusher.h"

#include <utility>

#include "base/log.h"
#include "gst/runtime.h"

namespace NimboEngine {

using namespace LumoRtc;

LivePusher::LivePusher(const Settings& settings)
    : settings_(settings),
      devices_(DeviceId(settings.camera), DeviceId(settings.microphone)),
      listeners_(this),
      engine_("nimbo-engine") {
  engine_.post([this] {
    startGstreamer();
    prepareDevices();
    session_ = std::make_unique<PusherSession>(
        engine_, settings_, devices_, listeners_,
        [this](uint32_t number) { push_.compare_exchange_strong(number, 0); });
  });
}

LivePusher::~LivePusher() {
  listeners_.detachAll();
  engine_.run([this] { session_.reset(); });
}

LumoLiveResult LivePusher::submit(SessionTask task) {
  if (!initialized_) {
    NIMBO_LOG_ERROR("the pusher has not been initialised");
    return kLumoLiveNotInitialized;
  }
  post(std::move(task));
  return kLumoLiveOk;
}

void LivePusher::post(SessionTask task) {
  engine_.post([this, task = std::move(task)] { task(*session_); });
}

int LivePusher::init(LumoLivePushConfig config) {
  if (previewing_ || push_ != 0) {
    NIMBO_LOG_ERROR("the configuration cannot change while preview or push runs");
    return kLumoLiveInvalidState;
  }
  const Result<PushParameters> parameters = makePushParameters(config);
  if (!parameters) {
    NIMBO_LOG_ERROR("the configuration is refused: {}", parameters.error().text);
    return parameters.error().code;
  }
  initialized_ = true;
  parameters_ = *parameters;
  return submit(
      [parameters = parameters_](PusherSession& session) { session.configure(parameters); });
}

// ----------------------------------------------------------------------------------- listeners

void LivePusher::setPushErrorListener(LumoLivePushErrorListener* listener) {
  listeners_.errorSlot.set(listener);
}

void LivePusher::setPushInfoListener(LumoLivePushInfoListener* listener) {
  listeners_.infoSlot.set(listener);
}

void LivePusher::setVideoFrameListener(LumoLiveVideoFrameListener* listener) {
  listeners_.frameSlot.set(listener);
}

void LivePusher::setPushNetworkListener(LumoLivePushNetworkListener* listener) {
  listeners_.networkSlot.set(listener);
}

// ----------------------------------------------------------------------------- preview and push

// The view follows the window's own size, so the one given here does not matter.
int LivePusher::startPreview(void* view, uint32_t, uint32_t) {
  if (previewing_) {
    NIMBO_LOG_ERROR("the preview runs already");
    return kLumoLiveInvalidState;
  }
  const std::optional<NativeWindow> window = readNativeWindow(view);
  const LumoLiveResult result =
      submit([window](PusherSession& session) { session.startPreview(window); });
  previewing_ = result == kLumoLiveOk;
  return result;
}

// Both ways of starting are asynchronous: the outcome is an event anyway.
int LivePusher::startPreviewAsync(void* view, uint32_t width, uint32_t height) {
  return startPreview(view, width, height);
}

int LivePusher::stopPreview() {
  if (!std::exchange(previewing_, false)) {
    NIMBO_LOG_ERROR("no preview runs");
    return kLumoLiveInvalidState;
  }
  return submit([](PusherSession& session) { session.stopPreview(); });
}

int LivePusher::startPush(const char* url) {
  if (push_ != 0) {
    NIMBO_LOG_ERROR("a push runs already");
    return kLumoLiveInvalidState;
  }
  Result<PushUrl> target = parsePushUrl(url);
  if (!target) {
    NIMBO_LOG_ERROR("cannot publish: {}", target.error().text);
    return target.error().code;
  }
  const uint32_t number = ++lastPush_;
  push_ = number;
  const LumoLiveResult result = submit([request = PushRequest{number, std::move(*target)}](
                                           PusherSession& session) { session.startPush(request); });
  if (result != kLumoLiveOk) push_ = 0;
  return result;
}

int LivePusher::startPushAsync(const char* url) {
  return startPush(url);
}

int LivePusher::stopPush() {
  if (push_.exchange(0) == 0) {
    NIMBO_LOG_ERROR("no push runs");
    return kLumoLiveInvalidState;
  }
  return submit([](PusherSession& session) { session.stopPush(); });
}

// ---------------------------------------------------------------------------- camera and muting

int LivePusher::startCamera() {
  return submit([](PusherSession& session) { session.setCameraRunning(true); });
}

int LivePusher::stopCamera() {
  return submit([](PusherSession& session) { session.setCameraRunning(false); });
}

int LivePusher::setMute(bool mute, uint32_t) {
  return submit([mute](PusherSession& session) { session.setMuted(mute); });
}

int LivePusher::muteLocalCamera(bool mute) {
  return submit([mute](PusherSession& session) { session.setCameraMuted(mute); });
}

// ------------------------------------------------------------------------------------- encoder

LumoLiveResult LivePusher::change(const Result<PushParameters>& changed) {
  if (!initialized_) return submit({});
  if (!changed) {
    NIMBO_LOG_ERROR("the change is refused: {}", changed.error().text);
    return changed.error().code;
  }
  parameters_ = *changed;
  return submit([parameters = parameters_](PusherSession& session) {
    session.changeEncoder(parameters.encoder);
  });
}

int LivePusher::setTargetVideoBitrate(int32_t kbps) {
  return change(changeRate(parameters_, &EncoderSettings::videoKbps, kbps));
}

int LivePusher::setMinVideoBitrate(int32_t kbps) {
  return change(changeRate(parameters_, &EncoderSettings::minVideoKbps, kbps));
}

int LivePusher::setResolution(uint32_t resolution, int32_t width, int32_t height) {
  return change(changeSize(parameters_, resolution, width, height));
}

int LivePusher::setFps(uint32_t fps) {
  return change(changeFps(parameters_, fps));
}

}  // namespace NimboEngine
