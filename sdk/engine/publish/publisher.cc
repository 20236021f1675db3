#include "publish/publisher.h"

#include <fmt/format.h>

#include <random>
#include <utility>

#include "base/log.h"
#include "publish/protocol.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

// How often a connection is sampled: often enough to detect soon that a server accepts media again.
constexpr std::chrono::milliseconds kPollInterval{50};

RandomSource randomSource() {
  return [generator = std::minstd_rand(std::random_device()())]() mutable {
    return std::uniform_real_distribution<double>(0, 1)(generator);
  };
}

}  // namespace

Publisher::Publisher(EngineThread& engine, const EncoderSettings& encoder,
                     const NetworkSettings& network, Events events)
    : engine_(engine),
      events_(std::move(events)),
      state_(network.reconnect, randomSource()),
      link_(network.sendTimeout, &LinkMonitor::Clock::now),
      bitrate_(bitrateLimits(encoder), &BitrateControl::Clock::now),
      format_(encoder.video),
      output_(encoder.audioOnly, outputEvents()),
      encoder_(encoder, encoderEvents()) {
  encoder_.addSink(&output_);
}

Publisher::~Publisher() {
  output_.detach();
}

// ---------------------------------------------------------------------------- events of the parts

ConnectionOutput::Events Publisher::outputEvents() {
  auto firstFrame = ownerGuard_.bind([this] {
    engine_.assertCurrent();
    if (phase() == PushPhase::kPublishing && !std::exchange(notifiedFirstFrame_, true)) {
      events_.onFirstFrame();
    }
  });
  // No event is raised if the push has ended, or is about to, by then.
  auto raise = ownerGuard_.bind([this](NetworkEvent which) {
    if (phase() == PushPhase::kPublishing || phase() == PushPhase::kResuming) {
      events_.onNetworkEvent(which);
    }
  });
  auto notify = [this, raise](NetworkEvent which) {
    engine_.post([raise, which]() mutable { raise(which); });
  };
  return {.onFirstFrame = [this, firstFrame] { engine_.post(firstFrame); },
          .onMetadataSent = [notify] { notify(NetworkEvent::kSendMessage); },
          .onKeyFrameNeeded = [this] { encoder_.requestKeyFrame(); },
          .onFramesDropped = [notify] { notify(NetworkEvent::kPacketsLost); }};
}

Encoder::Events Publisher::encoderEvents() {
  auto failed = ownerGuard_.bind([this](const std::string& message) {
    engine_.assertCurrent();
    apply(PushInput::kEncoderFailed, kLumoLiveErrorEncoderFailed, message);
  });
  return {.onFailed = [this, failed](const std::string& message) {
    engine_.post([failed, message]() mutable { failed(message); });
  }};
}

// ----------------------------------------------------------------------------- start, stop, states

void Publisher::start(const PushUrl& url) {
  engine_.assertCurrent();
  NIMBO_LOG_INFO("publishing to {}", url.forLog());
  url_ = url;
  apply(PushInput::kStart);
}

void Publisher::stop() {
  engine_.assertCurrent();
  apply(PushInput::kStop);
}

void Publisher::change(const EncoderSettings& settings) {
  engine_.assertCurrent();
  const BitrateLimits limits = bitrateLimits(settings);
  bitrate_.setLimits(limits.minimum, limits.target);
  applyBitrate();
  encoder_.setGopSeconds(settings.gopSeconds);
  if (settings.video == format_) return;
  format_ = settings.video;
  NIMBO_LOG_INFO("encoding {}x{} at {} frames/s from now on", format_.width, format_.height,
                 format_.fps);
  encoder_.setVideoFormat(format_);
}

void Publisher::apply(PushInput input, LumoLiveErrorCode code, std::string message) {
  const PushPhase before = phase();
  const int attempts = state_.attempts();
  const PushState::Step step = state_.apply(input);
  if (step.report == PushReport::kReconnectFailed && code != kLumoLiveErrorPublishDenied) {
    message = fmt::format("the connection was lost, and {} attempts to connect again failed: {}",
                          attempts, message);
    code = kLumoLiveErrorConnectionLost;
  }
  if (phase() != before) entered(before, step);
  if (code == kLumoLiveErrorPublishDenied && endsPush(step.report)) notifyOverdue();
  if (step.report != PushReport::kNone) events_.onReport({step.report, code, std::move(message)});
}

// For events of the parts.
void Publisher::applyOnEngine(PushInput input) {
  engine_.assertCurrent();
  apply(input);
}

void Publisher::entered(PushPhase before, const PushState::Step& step) {
  switch (phase()) {
    case PushPhase::kIdle:
      return closeConnection();
    case PushPhase::kConnecting:
      if (startEncoder()) connect();
      return;
    case PushPhase::kPublishing:
      if (before == PushPhase::kConnecting) beginSending();
      return;
    case PushPhase::kWaiting:
      closeConnection();
      NIMBO_LOG_INFO("connecting again in {} ms", step.retryAfter->count());
      engine_.postAfter(*step.retryAfter,
                        ownerGuard_.bind([this] { applyOnEngine(PushInput::kRetryDue); }));
      return;
    case PushPhase::kReconnecting:
      return connect();
    case PushPhase::kResuming:
      return beginSending();
    case PushPhase::kStopping:
      output_.detach();
      return finishConnection();
  }
}

bool Publisher::startEncoder() {
  output_.setMuxer(url_.protocol->muxer);
  if (encoder_.start(url_.protocol->muxer)) return true;
  engine_.post(ownerGuard_.bind([this] {
    engine_.assertCurrent();
    apply(PushInput::kEncoderFailed, kLumoLiveErrorEncoderFailed, "the encoder cannot be started");
  }));
  return false;
}

// --------------------------------------------------------------------------------- one connection

void Publisher::connect() {
  // A warning only: the server decides, and this machine's clock may be wrong.
  const auto now =
      std::chrono::time_point_cast<PushUrl::Time::duration>(std::chrono::system_clock::now());
  if (url_.expiry && *url_.expiry < now) notifyOverdue();
  connection_ =
      url_.protocol->connect(engine_, url_,
                             {.onAccepted = [this] { applyOnEngine(PushInput::kAccepted); },
                              .onFailed =
                                  [this](LumoLiveErrorCode code, const std::string& message) {
                                    engine_.assertCurrent();
                                    onConnectionFailed(code, message);
                                  },
                              .onDrained = [this] { applyOnEngine(PushInput::kDrained); }});
  connection_->open();
}

void Publisher::onConnectionFailed(LumoLiveErrorCode code, const std::string& message) {
  apply(code == kLumoLiveErrorPublishDenied ? PushInput::kDenied : PushInput::kFailed, code,
        message);
}

void Publisher::beginSending() {
  link_.restart();
  bitrate_.onNewConnection();
  output_.attach(connection_.get());
  encoder_.requestKeyFrame();
  watchLink(connection_.get());
}

// Repeats until `connection` is replaced or destroyed.
void Publisher::watchLink(const Connection* connection) {
  if (connection_.get() != connection) return;
  if (phase() != PushPhase::kPublishing && phase() != PushPhase::kResuming) return;
  if (output_.hasTakenFirstFrame()) apply(PushInput::kMediaTaken);
  const LinkSample sample = output_.sample();
  bitrate_.update(sample.waiting);
  for (const NetworkEvent event : link_.update(sample)) {
    if (event == NetworkEvent::kSendDataTimeout) bitrate_.onSendTimeout();
    events_.onNetworkEvent(event);
  }
  if (link_.isDead()) {
    apply(PushInput::kFailed, kLumoLiveErrorConnectionLost, "the server takes no data any more");
  }
  applyBitrate();
  engine_.postAfter(kPollInterval, ownerGuard_.bind([this, connection] {
    engine_.assertCurrent();
    watchLink(connection);
  }));
}

void Publisher::applyBitrate() {
  if (std::exchange(appliedKbps_, bitrate_.kbps()) == appliedKbps_) return;
  NIMBO_LOG_INFO("video is encoded at {} kbit/s", appliedKbps_);
  encoder_.setVideoKbps(appliedKbps_);
}

void Publisher::notifyOverdue() {
  if (!std::exchange(notifiedOverdue_, true))
    events_.onNetworkEvent(NetworkEvent::kAuthenticationOverdue);
}

void Publisher::finishConnection() {
  if (connection_) return connection_->finish();
  // The encoder could not be started, so there never was a connection.
  engine_.post(ownerGuard_.bind([this] { applyOnEngine(PushInput::kDrained); }));
}

void Publisher::closeConnection() {
  output_.detach();
  // Later, since this may run in the connection's callback.
  engine_.post([closing = std::shared_ptr<Connection>(std::move(connection_))] {});
}

void Publisher::onVideoFrame(GstBuffer* buffer, const GstVideoInfo& info, GstClockTime) {
  encoder_.pushVideo(buffer, info);
}

void Publisher::onAudioChunk(GstBuffer* buffer, const AudioFormat&, GstClockTime) {
  encoder_.pushAudio(buffer);
}

}  // namespace NimboEngine
