#include "api/live_session.h"

#include <fmt/format.h>

#include <utility>

#include "base/capacity.h"
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

LumoLiveErrorCode errorOf(ScreenTrouble trouble) {
  switch (trouble) {
    case ScreenTrouble::kHidden:
      return kLumoLiveErrorScreenHidden;
    case ScreenTrouble::kRefused:
      return kLumoLiveErrorScreenRefused;
    case ScreenTrouble::kLost:
      break;
  }
  return kLumoLiveErrorScreenLost;
}

}  // namespace

LiveSession::LiveSession(EngineThread& engine, Settings settings, DeviceSelection& devices,
                         PusherListeners& listeners, std::function<void(uint32_t)> onPushOver)
    : engine_(engine),
      settings_(std::move(settings)),
      devices_(devices),
      listeners_(listeners),
      onPushOver_(std::move(onPushOver)),
      volume_(engine_, listeners_) {
  watchDevices();
}

LiveSession::~LiveSession() {
  if (mixer_) capture_->removeConsumer(mixer_.get());
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

void LiveSession::changeEncoder(const EncoderSettings& settings) {
  parameters_.encoder = settings;
  applyEncoder();
}

// The camera keeps the size with which the capture was started; the encoder scales.
void LiveSession::applyEncoder() {
  const EncoderSettings encoder = wantedEncoder();
  if (capture_) capture_->setFormat(encoder.video);
  if (mixer_) mixer_->setFormat(encoder.video);
  if (publisher_) publisher_->change(encoder);
}

// ------------------------------------------------------------------------------------- capture

void LiveSession::startCapture() {
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
      lifeline_.bind([this](DeviceKind kind, const std::string& id, const std::string& message) {
        sourceFailed(kind, id, message);
      });
  capture_ = std::make_unique<CaptureSession>(
      settings,
      [this](PictureOrigin origin, uint8_t* pixels, const GstVideoInfo& info) {
        listeners_.capturedFrame(origin, pixels, info);
      },
      [this, failed](DeviceKind kind, const std::string& id, const std::string& message) {
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

void LiveSession::stopCaptureIfUnused() {
  if (preview_ || publisher_ || nextPush_) return;
  capture_.reset();
  devices_.endCapture();
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
  if (!capture_) return;
  capture_->setCameraRunning(running);
  watchOpening();
}

// -------------------------------------------------------------------------------------- screen

void LiveSession::shareScreen(uint32_t id) {
  screen_ = id;
  screenPaused_ = false;
  if (capture_) captureScreen();
  applyEncoder();
}

void LiveSession::stopScreen() {
  screen_.reset();
  if (capture_) capture_->stopScreen();
  applyEncoder();
}

void LiveSession::setScreenPaused(bool paused) {
  screenPaused_ = paused;
  if (capture_) capture_->setScreenPaused(paused);
}

void LiveSession::setScreenEncoder(const EncoderSettings& encoder) {
  screenEncoder_ = encoder;
  applyEncoder();
}

void LiveSession::captureScreen() {
  auto troubled = lifeline_.bind([this](ScreenTrouble trouble, const std::string& message) {
    listeners_.sdkError(errorOf(trouble), message);
  });
  capture_->shareScreen(
      *screen_, [this, troubled](ScreenTrouble trouble, const std::string& message) {
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

// ----------------------------------------------------------------------------------------- mix

void LiveSession::setMix(std::optional<MixLayout> layout) {
  mix_ = std::move(layout);
  if (mixer_) mixer_->setLayout(mix_);
  listeners_.mixVerdict(true, "");
}

void LiveSession::refuseMix(const std::string& reason) {
  listeners_.mixVerdict(false, reason);
}

// ------------------------------------------------------------------------------------- preview

void LiveSession::startPreview(std::optional<uint32_t> window) {
  if (const std::string missing = missingCapacity(); !missing.empty()) {
    return listeners_.systemError(kLumoLiveErrorNoCapacity, missing);
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
  if (const std::string missing = missingCapacity(); !missing.empty()) {
    onPushOver_(pushNumber_);
    listeners_.network(&LumoLivePushNetworkListener::onConnectFail);
    return listeners_.sdkError(kLumoLiveErrorNoCapacity, missing);
  }
  startCapture();
  publisher_ = std::make_unique<Publisher>(
      engine_, wantedEncoder(), settings_.network,
      Publisher::Events{
          .onReport = [this](const PushOutcome& outcome) { onPushReport(outcome); },
          .onFirstFrame =
              [this] { listeners_.info(&LumoLivePushInfoListener::onFirstFramePushed); },
          .onNews = [this](NetworkNews news) { onNetworkNews(news); }});
  publisher_->start(request.url);
  mixer_ = std::make_unique<LiveMixer>(*publisher_, wantedEncoder().video);
  mixer_->setLayout(mix_);
  capture_->addConsumer(mixer_.get());
}

void LiveSession::onNetworkNews(NetworkNews news) {
  if (news == NetworkNews::kNetworkPoor) capture_->setNetworkPoor(true);
  if (news == NetworkNews::kNetworkRecovery) capture_->setNetworkPoor(false);
  listeners_.network(networkEvent(news));
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
  capture_->removeConsumer(mixer_.get());
  capture_->setNetworkPoor(false);
  mixer_.reset();
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
