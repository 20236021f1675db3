#include "publish/rtmp_connection.h"

#include <array>
#include <chrono>
#include <string>
#include <utility>

#include "publish/flv_tag.h"
#include "rtmp/rtmp_url.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using namespace LumoRtc;

// nginx, for example, answers that publishing has started and closes the connection a moment later
// if its access rules forbid it: only a connection that survives this time counts as accepted.
constexpr auto kSettleTime = 50ms;
// A frozen server would block draining forever.
constexpr auto kDrainTimeout = 300ms;

// The AMF-encoded name that makes a server keep metadata for players that join later.
constexpr char kKeepMetadata[] = "\x02\x00\x0d@setDataFrame";
constexpr std::size_t kKeepMetadataBytes = sizeof kKeepMetadata - 1;

GstPtr<GstBuffer> withKeepMetadata(GstBuffer* tag, std::size_t offset, std::size_t size) {
  GstBuffer* body = gst_buffer_new_memdup(kKeepMetadata, kKeepMetadataBytes);
  return GstPtr<GstBuffer>(
      gst_buffer_append(body, gst_buffer_copy_region(tag, GST_BUFFER_COPY_MEMORY, offset, size)));
}

}  // namespace

LumoLiveErrorCode publishErrorCode(ConnectionError error) {
  if (const auto code = routeErrorCode(error)) return *code;
  switch (error) {
    case ConnectionError::kNameInUse:
      return kLumoLiveErrorStreamNameInUse;
    case ConnectionError::kPublishDenied:
    case ConnectionError::kAuthenticationNeeded:
      return kLumoLiveErrorPublishDenied;
    default:  // also one that answered, then closed: a refusal
      return kLumoLiveErrorPublishRejected;
  }
}

RtmpConnection::RtmpConnection(EngineThread& engine, PushUrl url, Events events)
    : engine_(engine), url_(std::move(url)), events_(std::move(events)) {}

RtmpConnection::~RtmpConnection() = default;

void RtmpConnection::open() {
  state_ = State::kConnecting;
  const auto target = parseRtmpUrl(url_.text);
  if (!target) return fail(kLumoLiveErrorPublishRejected, target.error().text);
  // Called on the thread of the client, which is destroyed before this object.
  auto started = ownerGuard_.bind([this] { onStarted(); });
  auto ended = ownerGuard_.bind([this](const ConnectionFailure& failure) { onEnded(failure); });
  auto finished = ownerGuard_.bind([this] { drained(); });
  client_ = std::make_unique<RtmpClient>(
      RtmpRole::kPublish, *target,
      RtmpClient::Events{.onConnected = {},
                         .onStarted = [this, started] { engine_.post(started); },
                         .onMedia = {},
                         .onEnded =
                             [this, ended](const ConnectionFailure& failure) {
                               engine_.post([ended, failure]() mutable { ended(failure); });
                             },
                         .onFinished = [this, finished] { engine_.post(finished); }});
}

void RtmpConnection::onStarted() {
  engine_.postAfter(kSettleTime, ownerGuard_.bind([this] {
    if (state_ != State::kConnecting) return;
    state_ = State::kAccepted;
    events_.onAccepted();
  }));
}

void RtmpConnection::onEnded(const ConnectionFailure& failure) {
  if (state_ == State::kFinishing) return drained();
  const bool accepted = state_ == State::kAccepted;
  fail(accepted ? kLumoLiveErrorConnectionLost : publishErrorCode(failure.code), failure.text);
}

void RtmpConnection::send(GstPtr<GstBuffer> tag) {
  const gsize size = gst_buffer_get_size(tag.get());
  uint8_t type = 0;
  if (size < kFlvTagFraming || gst_buffer_extract(tag.get(), 0, &type, 1) != 1) return;
  const uint32_t timestamp = flvTimestamp(tag.get());
  const gsize bodySize = size - kFlvTagFraming;
  if (classifyFlvTag(tag.get()) == PacketKind::kMetadata) {
    tag = withKeepMetadata(tag.get(), kFlvTagHeader, bodySize);
    return client_->send(RtmpType::kData, timestamp, std::move(tag), 0,
                         bodySize + kKeepMetadataBytes);
  }
  client_->send(static_cast<RtmpType>(type), timestamp, std::move(tag), kFlvTagHeader, bodySize);
}

std::size_t RtmpConnection::backlog() const {
  return client_->backlog();
}

uint64_t RtmpConnection::acknowledged() const {
  return client_->acknowledged();
}

void RtmpConnection::finish() {
  const bool drains = state_ == State::kAccepted;
  state_ = State::kFinishing;
  if (drains) client_->finish();
  engine_.postAfter(
      drains ? EngineThread::Clock::duration(kDrainTimeout) : EngineThread::Clock::duration::zero(),
      ownerGuard_.bind([this] { drained(); }));
}

void RtmpConnection::fail(LumoLiveErrorCode code, const std::string& message) {
  if (state_ == State::kOver) return;
  state_ = State::kOver;
  // In a task of its own: the handler may destroy this object.
  engine_.post(ownerGuard_.bind([this, code, message] { events_.onFailed(code, message); }));
}

void RtmpConnection::drained() {
  if (state_ == State::kOver) return;
  state_ = State::kOver;
  events_.onDrained();
}

}  // namespace NimboEngine
