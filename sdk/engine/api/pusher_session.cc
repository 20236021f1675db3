#include "api/pusher_session.h"

#include <fmt/format.h>

#include <utility>

#include "base/capacity.h"
#include "base/log.h"
#include "publish/encoder.h"

namespace NimboEngine {

using namespace LumoRtc;

namespace {

LumoLiveErrorCode errorOf(ScreenError error) {
  switch (error) {
    case ScreenError::kHidden:
      return kLumoLiveErrorScreenHidden;
    case ScreenError::kRefused:
      return kLumoLiveErrorScreenRefused;
    case ScreenError::kLost:
      break;
  }
  return kLumoLiveErrorScreenLost;
}

}  // namespace

PusherSession::PusherSession(EngineThread& engine, Settings settings, DeviceSelection& devices,
                             PusherListeners& listeners, std::function<void(uint32_t)> onPushOver)
    : engine_(engine),
      settings_(std::move(settings)),
      devices_(devices),
      listeners_(listeners),
      onPushOver_(std::move(onPushOver)),
      volume_(engine_, listeners_) {
  watchDevices();
}

PusherSession::~PusherSession() {
  if (mixer_) capture_->removeConsumer(mixer_.get());
}

void PusherSession::configure(const PushParameters& parameters) {
  // The last push may still be draining with the old parameters: it is cut short.
  if (publisher_) {
    takePublisher().reset();  // at once: it must not report its end a second time
    stopCaptureIfUnused();
    listeners_.info(&LumoLivePushInfoListener::onPushStopped);
  }
  parameters_ = parameters;
}

void PusherSession::changeEncoder(const EncoderSettings& settings) {
  parameters_.encoder = settings;
  applyEncoder();
}

// The camera keeps the size with which the capture was started; the encoder scales.
void PusherSession::applyEncoder() {
  const EncoderSettings encoder = wantedEncoder();
  if (capture_) capture_->setFormat(encoder.video);
  if (mixer_) mixer_->setFormat(encoder.video);
  if (publisher_) publisher_->change(encoder);
}

// ------------------------------------------------------------------------------------- capture

void PusherSession::startCapture() {
  if (capture_) return;
  devices_.beginCapture();
  const DeviceSelection::Sources sources = devices_.sources();
  const EncoderSettings& encoder = parameters_.encoder;
  const CaptureSettings settings{.video = encoder.video,
                                 .audio = encoder.audio,
                                 .audioOnly = encoder.audioOnly,
                                 .mirror = parameters_.mirror,
                                 .camera = sources.camera,
                                 .microphone = sources.microphone,
                                 .pauseImage = parameters_.pauseImage,
                                 .networkPoorImage = parameters_.networkPoorImage};
  auto failed =
      ownerGuard_.bind([this](DeviceKind kind, const DeviceId& id, const std::string& message) {
        sourceFailed(kind, id, message);
      });
  capture_ = std::make_unique<CaptureSession>(
      settings,
      [this](FrameOrigin origin, uint8_t* pixels, const GstVideoInfo& info) {
        listeners_.capturedFrame(origin, pixels, info);
      },
      [this, failed](DeviceKind kind, const DeviceId& id, const std::string& message) {
        engine_.post([failed, kind, id, message]() mutable { failed(kind, id, message); });
      });
  capture_->setMuted(muted_);
  capture_->addConsumer(&volume_);
  capture_->setCameraMuted(cameraMuted_);
  if (!cameraRunning_) capture_->setCameraRunning(false);
  watchOpening();
  if (screen_) captureScreen();
  capture_->setFormat(wantedEncoder().video);
}

void PusherSession::stopCaptureIfUnused() {
  if (preview_ || publisher_ || nextPush_) return;
  capture_.reset();
  devices_.endCapture();
}

void PusherSession::setMuted(bool muted) {
  muted_ = muted;
  volume_.setMuted(muted);
  if (capture_) capture_->setMuted(muted);
}

void PusherSession::setCameraMuted(bool muted) {
  cameraMuted_ = muted;
  if (capture_) capture_->setCameraMuted(muted);
}

void PusherSession::setCameraRunning(bool running) {
  if (cameraRunning_ == running) return;
  cameraRunning_ = running;
  if (!capture_) return;
  capture_->setCameraRunning(running);
  watchOpening();
}

// -------------------------------------------------------------------------------------- screen

void PusherSession::shareScreen(ScreenId id) {
  screen_ = id;
  screenPaused_ = false;
  if (capture_) captureScreen();
  applyEncoder();
}

void PusherSession::stopScreen() {
  screen_.reset();
  if (capture_) capture_->stopScreen();
  applyEncoder();
}

void PusherSession::setScreenPaused(bool paused) {
  screenPaused_ = paused;
  if (capture_) capture_->setScreenPaused(paused);
}

void PusherSession::setScreenEncoder(const EncoderSettings& encoder) {
  screenEncoder_ = encoder;
  applyEncoder();
}

void PusherSession::captureScreen() {
  auto reportError = ownerGuard_.bind([this](ScreenError error, const std::string& message) {
    listeners_.sdkError(errorOf(error), message);
  });
  capture_->shareScreen(
      *screen_, [this, reportError](ScreenError error, const std::string& message) {
        engine_.post([reportError, error, message]() mutable { reportError(error, message); });
      });
  capture_->setScreenPaused(screenPaused_);
}

EncoderSettings PusherSession::wantedEncoder() const {
  EncoderSettings encoder = parameters_.encoder;
  if (screen_ && screenEncoder_) {
    encoder.video = screenEncoder_->video;
    encoder.videoKbps = screenEncoder_->videoKbps;
    encoder.gopSeconds = screenEncoder_->gopSeconds;
  }
  return encoder;
}

// ----------------------------------------------------------------------------------------- mix

void PusherSession::setMix(std::optional<MixLayout> layout) {
  mix_ = std::move(layout);
  if (mixer_) mixer_->setLayout(mix_);
  listeners_.mixResult(true, "");
}

void PusherSession::refuseMix(const std::string& reason) {
  listeners_.mixResult(false, reason);
}

// ------------------------------------------------------------------------------------- preview

void PusherSession::startPreview(std::optional<NativeWindow> window) {
  if (const auto ready = checkSystem({}); !ready) {
    listeners_.systemError(ready.error().code, ready.error().text);
    return listeners_.info(&LumoLivePushInfoListener::onPreviewStopped);
  }
  startCapture();
  preview_ = std::make_unique<Preview>(
      engine_, *capture_, window, parameters_.encoder.audioOnly,
      Preview::Events{
          .onStarted = [this] { listeners_.info(&LumoLivePushInfoListener::onPreviewStarted); },
          .onViewLost =
              [this](const std::string& message) {
                listeners_.systemError(kLumoLiveErrorViewLost, message);
              }});
}

void PusherSession::stopPreview() {
  preview_.reset();
  stopCaptureIfUnused();
  listeners_.info(&LumoLivePushInfoListener::onPreviewStopped);
}

// ---------------------------------------------------------------------------------------- push

void PusherSession::startPush(PushRequest request) {
  if (publisher_) {
    nextPush_ = std::move(request);
  } else {
    beginPush(request);
  }
}

void PusherSession::beginPush(const PushRequest& request) {
  pushNumber_ = request.number;
  std::vector<Feature> features{Feature::kPublishingAudio};
  if (encodesInSoftware(parameters_.encoder)) features.push_back(Feature::kPublishingVideo);
  if (const auto ready = checkSystem(std::move(features)); !ready) {
    onPushOver_(pushNumber_);
    listeners_.network(NetworkEvent::kConnectFail);
    return listeners_.sdkError(ready.error().code, ready.error().text);
  }
  startCapture();
  publisher_ = std::make_unique<Publisher>(
      engine_, wantedEncoder(), settings_.network,
      Publisher::Events{
          .onReport = [this](const PushOutcome& outcome) { onPushReport(outcome); },
          .onFirstFrame =
              [this] { listeners_.info(&LumoLivePushInfoListener::onFirstFramePushed); },
          .onNetworkEvent = [this](NetworkEvent event) { onNetworkEvent(event); }});
  publisher_->start(request.url);
  mixer_ = std::make_unique<LiveMixer>(wantedEncoder().video);
  mixer_->addSink(publisher_.get());
  mixer_->setLayout(mix_);
  capture_->addConsumer(mixer_.get());
}

void PusherSession::onNetworkEvent(NetworkEvent event) {
  if (event == NetworkEvent::kNetworkPoor) capture_->setNetworkPoor(true);
  if (event == NetworkEvent::kNetworkRecovery) capture_->setNetworkPoor(false);
  listeners_.network(event);
}

void PusherSession::stopPush() {
  if (nextPush_) {  // it has not begun yet
    nextPush_.reset();
    listeners_.info(&LumoLivePushInfoListener::onPushStopped);
  } else if (publisher_) {
    publisher_->stop();
  } else {  // it ended by itself just before: the stop is confirmed too
    listeners_.info(&LumoLivePushInfoListener::onPushStopped);
  }
}

void PusherSession::onPushReport(const PushOutcome& outcome) {
  if (endsPush(outcome.report)) {
    // Destroyed later, since this runs in its callback.
    engine_.post([ended = std::shared_ptr<Publisher>(takePublisher())] {});
    stopCaptureIfUnused();
    if (outcome.report != PushReport::kStopped) onPushOver_(pushNumber_);
  }
  notify(outcome);
  if (!nextPush_ || publisher_) return;
  const PushRequest next = std::move(*nextPush_);
  nextPush_.reset();
  beginPush(next);
}

void PusherSession::notify(const PushOutcome& outcome) {
  switch (outcome.report) {
    case PushReport::kNone:
      break;
    case PushReport::kStarted:
      listeners_.info(&LumoLivePushInfoListener::onPushStarted);
      break;
    case PushReport::kConnectFailed:
      listeners_.network(NetworkEvent::kConnectFail);
      listeners_.sdkError(outcome.code, outcome.message);
      break;
    case PushReport::kReconnecting:
      listeners_.network(NetworkEvent::kConnectionLost);
      listeners_.network(NetworkEvent::kReconnectStart);
      break;
    case PushReport::kReconnected:
      listeners_.network(NetworkEvent::kReconnectSucceed);
      break;
    case PushReport::kReconnectFailed:
      listeners_.network(NetworkEvent::kReconnectFail);
      listeners_.sdkError(outcome.code, outcome.message);
      break;
    case PushReport::kConnectionLost:
      listeners_.network(NetworkEvent::kConnectionLost);
      listeners_.sdkError(outcome.code, outcome.message);
      break;
    case PushReport::kStopped:
      listeners_.info(&LumoLivePushInfoListener::onPushStopped);
      break;
    case PushReport::kEncoderFailed:
      listeners_.sdkError(outcome.code, outcome.message);
      listeners_.info(&LumoLivePushInfoListener::onPushStopped);
      break;
  }
}

std::unique_ptr<Publisher> PusherSession::takePublisher() {
  capture_->removeConsumer(mixer_.get());
  capture_->setNetworkPoor(false);
  mixer_.reset();
  return std::move(publisher_);
}

// Fails where the system lacks what the capture and `features` need. It would show later, as a
// source that ends or an encoder that does not start.
Result<void, LumoLiveErrorCode> PusherSession::checkSystem(std::vector<Feature> features) const {
  features.push_back(Feature::kCapture);
  const DeviceSelection::Sources sources = devices_.sources();
  if (sources.camera.isTest() || sources.microphone.isTest()) {
    features.push_back(Feature::kTestSources);
  }
  if (auto complete = checkElements(features); !complete) return complete;
  return checkCapacity();
}

}  // namespace NimboEngine
