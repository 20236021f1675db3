#include "api/live_session.h"

#include <fmt/format.h>

#include <utility>

#include "gst/runtime.h"
#include "log/log.h"

namespace NimboEngine {

using namespace LumoRtc;

namespace {

PusherListeners::NetworkEvent networkEvent(NetworkNews news) {
  using Network = LumoLivePushNetworkListener;
  switch (news) {
    case NetworkNews::kNetworkPoor:
      return &Network::onNetworkPoor;
    case NetworkNews::kNetworkRecovery:
      return &Network::onNetworkRecovery;
    case NetworkNews::kSendDataTimeout:
      return &Network::onSendDataTimeout;
    case NetworkNews::kPacketsLost:
      return &Network::onPacketsLost;
    case NetworkNews::kSendMessage:
      return &Network::onSendMessage;
    case NetworkNews::kAuthenticationOverdue:
      break;
  }
  return &Network::onPushURLAuthenticationOverdue;
}

}  // namespace

LiveSession::LiveSession(EngineThread& engine, Settings settings, PusherListeners& listeners,
                         std::function<void(uint32_t)> onPushOver)
    : engine_(engine),
      settings_(std::move(settings)),
      listeners_(listeners),
      onPushOver_(std::move(onPushOver)),
      volume_(engine_, listeners_) {}

LiveSession::~LiveSession() {
  if (publisher_) capture_->removeConsumer(publisher_.get());
}

void LiveSession::configure(const PushParameters& parameters) {
  // The last push may still be saying goodbye with the old parameters: it is cut short.
  if (publisher_) {
    takePublisher().reset();  // at once: it must not report its end a second time
    stopCaptureIfUnused();
    listeners_.info(&LumoLivePushInfoListener::onPushStopped);
  }
  parameters_ = parameters;
}

// A running capture keeps the size with which it was started; the encoder scales.
void LiveSession::changeEncoder(const EncoderSettings& settings) {
  parameters_.encoder = settings;
  if (capture_) capture_->setFrameRate(settings.video.fps);
  if (publisher_) publisher_->change(settings);
}

// ------------------------------------------------------------------------------------- capture

void LiveSession::startCapture() {
  if (capture_) return;
  const EncoderSettings encoder = wantedEncoder();
  const CaptureSettings settings{.video = encoder.video,
                                 .audio = encoder.audio,
                                 .audioOnly = encoder.audioOnly,
                                 .mirror = parameters_.mirror,
                                 .camera = settings_.camera,
                                 .microphone = settings_.microphone};
  auto failed = lifeline_.bind([this](bool camera, const std::string& message) {
    listeners_.systemError(camera ? kLumoLiveErrorCameraFailed : kLumoLiveErrorMicrophoneFailed,
                           message);
  });
  capture_ = std::make_unique<CaptureSession>(
      settings,
      [this](PictureOrigin origin, uint8_t* pixels, const GstVideoInfo& info) {
        listeners_.capturedFrame(origin, pixels, info);
      },
      [this, failed](bool camera, const std::string& message) {
        engine_.post([failed, camera, message]() mutable { failed(camera, message); });
      });
  capture_->setMuted(muted_);
  capture_->addConsumer(&volume_);
  capture_->setCameraMuted(cameraMuted_);
  if (!cameraRunning_) capture_->setCameraRunning(false);
  if (screen_) captureScreen();
}

void LiveSession::stopCaptureIfUnused() {
  if (!preview_ && !publisher_ && !nextPush_) capture_.reset();
}

void LiveSession::setMuted(bool muted) {
  muted_ = muted;
  volume_.setMuted(muted);
  if (capture_) capture_->setMuted(muted);
}

void LiveSession::setCameraMuted(bool muted) {
  cameraMuted_ = muted;
  if (capture_) capture_->setCameraMuted(muted);
}

void LiveSession::setCameraRunning(bool running) {
  if (cameraRunning_ == running) return;
  cameraRunning_ = running;
  if (capture_) capture_->setCameraRunning(running);
}

// -------------------------------------------------------------------------------------- screen

void LiveSession::shareScreen(uint32_t id) {
  screen_ = id;
  screenPaused_ = false;
  if (capture_) captureScreen();
}

void LiveSession::stopScreen() {
  screen_.reset();
  if (capture_) capture_->stopScreen();
}

void LiveSession::setScreenPaused(bool paused) {
  screenPaused_ = paused;
  if (capture_) capture_->setScreenPaused(paused);
}

void LiveSession::setScreenEncoder(const EncoderSettings& encoder) {
  screenEncoder_ = encoder;
  if (capture_) capture_->setScreenFps(encoder.video.fps);
}

void LiveSession::captureScreen() {
  auto troubled = lifeline_.bind([this](ScreenTrouble trouble, const std::string& message) {
    listeners_.sdkError(
        trouble == ScreenTrouble::kHidden ? kLumoLiveErrorScreenHidden : kLumoLiveErrorScreenLost,
        message);
  });
  capture_->shareScreen(
      *screen_, wantedEncoder().video.fps,
      [this, troubled](ScreenTrouble trouble, const std::string& message) {
        engine_.post([troubled, trouble, message]() mutable { troubled(trouble, message); });
      });
  capture_->setScreenPaused(screenPaused_);
}

EncoderSettings LiveSession::wantedEncoder() const {
  EncoderSettings encoder = parameters_.encoder;
  if (screen_ && screenEncoder_) {
    encoder.video = screenEncoder_->video;
    encoder.videoKbps = screenEncoder_->videoKbps;
    encoder.gopSeconds = screenEncoder_->gopSeconds;
  }
  return encoder;
}

// ------------------------------------------------------------------------------------- preview

void LiveSession::startPreview(std::optional<uint32_t> window) {
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

void LiveSession::stopPreview() {
  preview_.reset();
  stopCaptureIfUnused();
  listeners_.info(&LumoLivePushInfoListener::onPreviewStopped);
}

// ---------------------------------------------------------------------------------------- push

void LiveSession::startPush(PushRequest request) {
  if (publisher_) {
    nextPush_ = std::move(request);
  } else {
    beginPush(request);
  }
}

void LiveSession::beginPush(const PushRequest& request) {
  pushNumber_ = request.number;
  startCapture();
  const EncoderSettings encoder = wantedEncoder();
  capture_->setFrameRate(encoder.video.fps);
  publisher_ = std::make_unique<Publisher>(
      engine_, encoder, settings_.network,
      Publisher::Events{
          .onReport = [this](const PushOutcome& outcome) { onPushReport(outcome); },
          .onFirstFrame =
              [this] { listeners_.info(&LumoLivePushInfoListener::onFirstFramePushed); },
          .onNews = [this](NetworkNews news) { listeners_.network(networkEvent(news)); }});
  publisher_->start(request.url);
  capture_->addConsumer(publisher_.get());
}

void LiveSession::stopPush() {
  if (nextPush_) {  // it has not begun yet
    nextPush_.reset();
    listeners_.info(&LumoLivePushInfoListener::onPushStopped);
  } else if (publisher_) {
    publisher_->stop();
  } else {  // it ended by itself just before: the stop is answered all the same
    listeners_.info(&LumoLivePushInfoListener::onPushStopped);
  }
}

void LiveSession::onPushReport(const PushOutcome& outcome) {
  if (endsPush(outcome.report)) {
    // Destroyed later, since it is what called.
    engine_.post([ended = std::shared_ptr<Publisher>(takePublisher())] {});
    stopCaptureIfUnused();
    if (outcome.report != PushReport::kStopped) onPushOver_(pushNumber_);
  }
  tell(outcome);
  if (!nextPush_ || publisher_) return;
  const PushRequest next = std::move(*nextPush_);
  nextPush_.reset();
  beginPush(next);
}

void LiveSession::tell(const PushOutcome& outcome) {
  using Network = LumoLivePushNetworkListener;
  switch (outcome.report) {
    case PushReport::kNone:
      break;
    case PushReport::kStarted:
      listeners_.info(&LumoLivePushInfoListener::onPushStarted);
      break;
    case PushReport::kConnectFailed:
      listeners_.network(&Network::onConnectFail);
      listeners_.sdkError(outcome.code, outcome.message);
      break;
    case PushReport::kReconnecting:
      listeners_.network(&Network::onConnectionLost);
      listeners_.network(&Network::onReconnectStart);
      break;
    case PushReport::kReconnected:
      listeners_.network(&Network::onReconnectSucceed);
      break;
    case PushReport::kReconnectFailed:
      listeners_.network(&Network::onReconnectFail);
      listeners_.sdkError(outcome.code, outcome.message);
      break;
    case PushReport::kConnectionLost:
      listeners_.network(&Network::onConnectionLost);
      listeners_.sdkError(outcome.code, outcome.message);
      break;
    case PushReport::kStopped:
      listeners_.info(&LumoLivePushInfoListener::onPushStopped);
      break;
    case PushReport::kEncoderFailed:
      reportMissingElements();
      listeners_.sdkError(outcome.code, outcome.message);
      listeners_.info(&LumoLivePushInfoListener::onPushStopped);
      break;
  }
}

std::unique_ptr<Publisher> LiveSession::takePublisher() {
  capture_->removeConsumer(publisher_.get());
  return std::move(publisher_);
}

void LiveSession::reportMissingElements() {
  for (const NeededElement& needed : neededElements()) {
    if (haveElement(needed.factory)) continue;
    listeners_.systemError(
        kLumoLiveErrorComponentMissing,
        fmt::format("{} is missing; the package {} brings it", needed.factory, needed.package));
  }
}

}  // namespace NimboEngine
