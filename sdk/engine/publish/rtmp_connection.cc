#include "publish/rtmp_connection.h"

#include <fmt/format.h>
#include <gst/app/gstappsrc.h>

#include <utility>

#include "log/log.h"
#include "publish/rtmp_error.h"
#include "publish/tcp_socket.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

constexpr auto kPollInterval = 10ms;
// For the connection as a whole. The element's own time-out, which is counted anew at each step and
// each time that the server does not take data, must not come first.
constexpr auto kConnectTimeout = 10s;
// nginx, for one, answers that publishing has started and closes the connection in the next moment
// when its access rules forbid it: only an answer that lasts is an acceptance.
constexpr auto kSettleTime = 50ms;
// Draining took 75 ms on an idle machine; a frozen server would hold it up for ever.
constexpr auto kDrainTimeout = 300ms;

}  // namespace

RtmpConnection::RtmpConnection(EngineThread& engine, PushUrl url, Events events)
    : engine_(engine), url_(std::move(url)), events_(std::move(events)) {}

RtmpConnection::~RtmpConnection() = default;

void RtmpConnection::open() {
  state_ = State::kConnecting;
  deadline_ = EngineThread::Clock::now() + kConnectTimeout;
  auto relay = [this, toEngine = lifeline_.bind([this](const PipelineMessage& message) {
    onPipelineMessage(message);
  })](const PipelineMessage& message) {
    engine_.post([toEngine, message]() mutable { toEngine(message); });
  };
  // Chunks of 4 KiB: with RTMP's 128 bytes every picture would be cut into hundreds.
  pipeline_ = Pipeline::parse("rtmp",
                              "appsrc name=source is-live=true format=bytes max-bytes=0 "
                              "caps=video/x-flv ! rtmp2sink name=sink sync=false async=false "
                              "enable-last-sample=false chunk-size=4096 timeout=15",
                              std::move(relay));
  if (!pipeline_) {
    return fail(LumoRtc::kLumoLiveErrorPublishRejected, "the RTMP component cannot be loaded");
  }
  source_ = pipeline_->element("source");
  sink_ = pipeline_->element("sink");
  GError* failure = nullptr;
  if (!gst_uri_handler_set_uri(GST_URI_HANDLER(sink_.get()), url_.text.c_str(), &failure)) {
    const GstPtr<GError> owned(failure);
    return fail(LumoRtc::kLumoLiveErrorPublishRejected, owned->message);
  }
  otherSockets_ = socketsConnectedTo(url_.port);
  if (!pipeline_->play()) return;  // the reason arrives as a message
  watchForAcceptance();
}

// The element does not say when the server has accepted: only then does it count received bytes.
void RtmpConnection::watchForAcceptance() {
  if (state_ != State::kConnecting) return;
  const auto now = EngineThread::Clock::now();
  if (!answered_ && statistic("in-bytes-total") > 0) answered_ = now;
  if (answered_ && now - *answered_ >= kSettleTime) return accepted();
  if (!answered_ && now > deadline_) {
    return fail(LumoRtc::kLumoLiveErrorConnectTimeout, "the server does not answer");
  }
  engine_.postAfter(kPollInterval, lifeline_.bind([this] { watchForAcceptance(); }));
}

void RtmpConnection::accepted() {
  state_ = State::kAccepted;
  adoptSocket();
  events_.onAccepted();
}

// A player that connected to the same server in the same moment makes it uncertain which socket is
// this connection's: all are limited then, which does no harm, and none is measured.
void RtmpConnection::adoptSocket() {
  std::vector<TcpSocket> candidates = TcpSocket::findNew(url_.port, otherSockets_);
  bool limited = !candidates.empty();
  for (TcpSocket& candidate : candidates) limited = candidate.limit() && limited;
  if (!limited) {
    NIMBO_LOG_WARN("the connection's socket cannot be limited: a frozen server goes unnoticed");
  }
  if (candidates.size() == 1) socket_ = std::move(candidates.front());
}

uint64_t RtmpConnection::statistic(const char* name) const {
  GstStructure* stats = nullptr;
  g_object_get(sink_.get(), "stats", &stats, nullptr);
  const GstPtr<GstStructure> owned(stats);
  guint64 value = 0;
  if (owned) gst_structure_get_uint64(owned.get(), name, &value);
  return value;
}

void RtmpConnection::send(GstPtr<GstBuffer> tag) {
  gst_app_src_push_buffer(GST_APP_SRC(source_.get()), tag.release());  // takes the reference
}

std::size_t RtmpConnection::backlog() const {
  return gst_app_src_get_current_level_bytes(GST_APP_SRC(source_.get())) +
         (socket_ ? socket_->unacknowledged() : 0);
}

uint64_t RtmpConnection::acknowledged() const {
  return socket_ ? socket_->acknowledged() : statistic("out-bytes-total");
}

void RtmpConnection::finish() {
  const bool toldServer = state_ == State::kAccepted;
  state_ = State::kFinishing;
  if (toldServer) gst_app_src_end_of_stream(GST_APP_SRC(source_.get()));
  engine_.postAfter(toldServer ? EngineThread::Clock::duration(kDrainTimeout)
                               : EngineThread::Clock::duration::zero(),
                    lifeline_.bind([this] { drained(); }));
}

void RtmpConnection::onPipelineMessage(const PipelineMessage& message) {
  if (state_ == State::kFinishing) return drained();
  if (message.kind == PipelineMessage::Kind::kError) {
    fail(classifyRtmpError(message, state_ == State::kAccepted), message.text);
  }
}

void RtmpConnection::fail(LumoRtc::LumoLiveErrorCode code, const std::string& message) {
  if (state_ == State::kOver) return;
  state_ = State::kOver;
  // From a task of its own: the receiver may destroy this object.
  engine_.post(lifeline_.bind([this, code, message] { events_.onFailed(code, message); }));
}

void RtmpConnection::drained() {
  if (state_ == State::kOver) return;
  state_ = State::kOver;
  events_.onDrained();
}

}  // namespace NimboEngine
