#include "publish/publisher.h"

#include <utility>

#include "log/log.h"

namespace NimboEngine {
namespace {

// What may wait to be sent before whole groups of pictures are skipped: two seconds of the stream.
std::size_t backlogLimit(const EncoderSettings& settings) {
  const int bitsPerSecond =
      settings.audioBps + (settings.audioOnly ? 0 : settings.videoKbps * 1000);
  return static_cast<std::size_t>(bitsPerSecond) * 2 / 8;
}

}  // namespace

Publisher::Publisher(EngineThread& engine, const EncoderSettings& settings, Events events)
    : engine_(engine),
      events_(std::move(events)),
      outlet_(settings.audioOnly, backlogLimit(settings), outletEvents()),
      encoder_(settings, encoderEvents()) {}

Publisher::~Publisher() {
  outlet_.detach();
}

FlvOutlet::Events Publisher::outletEvents() {
  return {.onFirstFrame = [this, report = lifeline_.bind([this] {
            if (phase() == PushPhase::kPublishing) events_.onFirstFrame();
          })] { engine_.post(report); },
          .onKeyFrameNeeded = [this] { encoder_.requestKeyFrame(); }};
}

Encoder::Events Publisher::encoderEvents() {
  auto failed = lifeline_.bind([this](const std::string& message) {
    apply(PushInput::kEncoderFailed, LumoRtc::kLumoLiveErrorEncoderFailed, message);
  });
  return {.onTag = [this](GstPtr<GstBuffer> tag) { outlet_.deliver(std::move(tag)); },
          .onFailed =
              [this, failed](const std::string& message) {
                engine_.post([failed, message]() mutable { failed(message); });
              }};
}

void Publisher::start(const PushUrl& url) {
  NIMBO_LOG_INFO("publishing to {}", url.forLog());
  apply(PushInput::kStart);
  if (encoder_.start()) return connect(url);
  engine_.post(lifeline_.bind([this] {
    apply(PushInput::kEncoderFailed, LumoRtc::kLumoLiveErrorEncoderFailed,
          "the encoder cannot be started");
  }));
}

void Publisher::connect(const PushUrl& url) {
  connection_ = std::make_unique<RtmpConnection>(
      engine_, url,
      RtmpConnection::Events{
          .onAccepted = [this] { apply(PushInput::kAccepted); },
          .onFailed = [this](
                          LumoRtc::LumoLiveErrorCode code,
                          const std::string& message) { apply(PushInput::kFailed, code, message); },
          .onDrained = [this] { apply(PushInput::kDrained); }});
  connection_->open();
}

void Publisher::stop() {
  apply(PushInput::kStop);
}

void Publisher::apply(PushInput input, LumoRtc::LumoLiveErrorCode code, std::string message) {
  const PushPhase before = state_.phase();
  const PushReport report = state_.apply(input);
  if (state_.phase() != before) {
    switch (state_.phase()) {
      case PushPhase::kIdle:
        closeConnection();
        break;
      case PushPhase::kConnecting:
        break;
      case PushPhase::kPublishing:
        outlet_.attach(connection_.get());
        encoder_.requestKeyFrame();
        break;
      case PushPhase::kStopping:
        outlet_.detach();
        finishConnection();
        break;
    }
  }
  if (report != PushReport::kNone) events_.onReport({report, code, std::move(message)});
}

void Publisher::finishConnection() {
  if (connection_) return connection_->finish();
  // The encoder could not be started, so there never was a connection.
  engine_.post(lifeline_.bind([this] { apply(PushInput::kDrained); }));
}

void Publisher::closeConnection() {
  outlet_.detach();
  // Later, since the connection may be what called.
  engine_.post([closing = std::shared_ptr<RtmpConnection>(std::move(connection_))] {});
}

void Publisher::onVideoFrame(GstBuffer* buffer, const GstVideoInfo&, GstClockTime) {
  encoder_.pushVideo(buffer);
}

void Publisher::onAudioChunk(GstBuffer* buffer, const AudioFormat&, GstClockTime) {
  encoder_.pushAudio(buffer);
}

}  // namespace NimboEngine
