#include "rtmp/rtmp_client.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

#include "base/capacity.h"
#include "base/redaction.h"
#include "net/tcp_connect.h"
#include "platform/thread_name.h"

namespace NimboEngine {
namespace {

using Clock = std::chrono::steady_clock;

// GIO aborts the process if it cannot open the descriptors that its resolver waits on.
constexpr int kDescriptors = 8;
constexpr std::size_t kReadBytes = std::size_t{64} * 1024;
// Successive reads before anything else is processed.
constexpr int kReadsAtOnce = 8;
// Queued media are split into chunks only up to this amount; the rest waits unsplit.
constexpr std::size_t kOutputBytes = std::size_t{64} * 1024;
// The kernel does not report that the last byte was acknowledged.
constexpr int kFinishPollMs = 10;

}  // namespace

RtmpClient::RtmpClient(RtmpRole role, const RtmpUrl& url, Events events,
                       std::chrono::milliseconds connectTimeout)
    : url_(url),
      events_(std::move(events)),
      deadline_(Clock::now() + connectTimeout),
      session_(role, url, sessionEvents()),
      received_(kReadBytes) {
  try {
    thread_ = std::thread([this] { run(); });
    nameThread(thread_, "rtmp");
  } catch (const std::system_error&) {
    if (events_.onEnded) events_.onEnded({ConnectionError::kSystem, "no thread can be started"});
  }
}

RtmpClient::~RtmpClient() {
  stop();
  if (thread_.joinable()) thread_.join();
}

// ------------------------------------------------------------------------------ from other threads

void RtmpClient::send(RtmpType type, uint32_t timestamp, GstPtr<GstBuffer> buffer,
                      std::size_t offset, std::size_t size) {
  {
    const MutexLock lock(mutex_);
    queuedBytes_ += size;
    queue_.push_back({type, timestamp, std::move(buffer), offset, size});
  }
  stop_.wake();
}

std::size_t RtmpClient::backlog() const {
  const MutexLock lock(mutex_);
  return queuedBytes_ + outputBytes_ + (stream_ ? stream_->unacknowledged() : 0);
}

uint64_t RtmpClient::acknowledged() const {
  const MutexLock lock(mutex_);
  return stream_ ? stream_->acknowledged() : lastAcknowledged_;
}

void RtmpClient::finish() {
  {
    const MutexLock lock(mutex_);
    finishing_ = true;
  }
  stop_.wake();
}

void RtmpClient::stop() {
  stop_.stop();
  const MutexLock lock(mutex_);
  if (stream_) stream_->cut();
}

// ---------------------------------------------------------------------- on the connection's thread

RtmpSession::Events RtmpClient::sessionEvents() {
  const auto unlessStopped = [this](const std::function<void()>& handler) {
    return [this, &handler] {
      if (handler && !stop_.isStopped()) handler();
    };
  };
  return {.onConnected = unlessStopped(events_.onConnected),
          .onStarted = unlessStopped(events_.onStarted),
          .onMedia =
              [this](const RtmpMessage& message) {
                if (events_.onMedia && !stop_.isStopped()) events_.onMedia(message);
              },
          .onEnded = [this](const ConnectionFailure& failure) { fail(failure); }};
}

void RtmpClient::fail(ConnectionFailure failure) {
  if (failure_) return;
  // Servers often name the stream that they refuse.
  failure.text = redact(failure.text, url_.stream.substr(0, url_.stream.find('?')));
  failure_ = std::move(failure);
}

void RtmpClient::run() {
  connect();
  if (!failure_) converse();
  close();
  if (stop_.isStopped()) return;
  // A server that closes after the end of the stream has received all of it.
  if (streamEnded_) {
    if (events_.onFinished) events_.onFinished();
  } else if (failure_ && events_.onEnded) {
    events_.onEnded(*failure_);
  }
}

void RtmpClient::connect() {
  if (!stop_.isValid() || !areDescriptorsLeft(kDescriptors)) {
    return fail({ConnectionError::kSystem, "no descriptor is left"});
  }
  auto connected = connectTcp(url_.host, url_.port, stop_, deadline_);
  if (!connected) return fail(connected.error());
  auto stream = std::make_unique<ByteStream>(std::move(*connected));
  ByteStream* const opened = stream.get();
  {
    const MutexLock lock(mutex_);
    stream_ = std::move(stream);
  }
  // An earlier stop has not cut it; from now on each one does.
  if (stop_.isStopped() || !url_.tls) return;
  const auto secured = opened->startTls(url_.host, url_.port, stop_, deadline_);
  if (!secured) fail(secured.error());
}

void RtmpClient::converse() {
  session_.start();
  while (!stop_.isStopped()) {
    receiveInput();
    if (failure_) return;
    transmit();
    if (isFinished()) return;
    waitForWork();
    if (session_.awaitsServer() && Clock::now() >= deadline_) {
      return fail({ConnectionError::kTimeout, "the server does not answer"});
    }
  }
}

void RtmpClient::transmit() {
  do {
    sendOutput();
  } while (writable_ && !sendFailed_ && !stop_.isStopped() && takeQueued());
  outputBytes_ = session_.outputBytes();
}

// Returns whether there is something to be sent now.
bool RtmpClient::takeQueued() {
  while (session_.outputBytes() < kOutputBytes) {
    MutexLock lock(mutex_);
    if (queue_.empty()) {
      const bool ends = finishing_ && !std::exchange(streamEnded_, finishing_);
      lock.unlock();
      if (ends) session_.finish();
      break;
    }
    const Media media = std::move(queue_.front());
    queue_.pop_front();
    // Counted immediately, so that backlog() never misses it.
    outputBytes_ += media.size;
    queuedBytes_ -= media.size;
    lock.unlock();
    session_.sendMedia(media.type, media.timestamp, media.size,
                       [&media](std::size_t offset, std::span<uint8_t> target) {
                         gst_buffer_extract(media.buffer.get(), media.offset + offset,
                                            target.data(), target.size());
                       });
  }
  return session_.outputBytes() > 0;
}

void RtmpClient::sendOutput() {
  while (writable_ && !sendFailed_) {
    const auto output = session_.output();
    if (output.empty()) return;
    std::size_t count = 0;
    const ByteStream::Result result = stream_->write(output, count);
    session_.consumeOutput(count);
    writable_ = result == ByteStream::Result::kDone;
    sendFailed_ = result == ByteStream::Result::kFailed;
  }
}

void RtmpClient::receiveInput() {
  const ConnectionFailure sendFailure = stream_->failure();
  for (int i = 0; readable_ && i < kReadsAtOnce && !failure_ && !stop_.isStopped(); ++i) {
    std::size_t count = 0;
    switch (stream_->read(received_, count)) {
      case ByteStream::Result::kDone:
        if (session_.isStarting()) stream_->acknowledgeAtOnce();
        session_.receive(std::span(received_).first(count));
        break;
      case ByteStream::Result::kWouldBlock:
        readable_ = false;
        break;
      case ByteStream::Result::kFailed:
        session_.onPeerClosed(stream_->failure());
        break;
    }
  }
  // Only now: the server may have sent a reason before it closed.
  if (sendFailed_) session_.onPeerClosed(sendFailure);
}

bool RtmpClient::isFinished() const {
  return streamEnded_ && session_.outputBytes() == 0 && stream_->unacknowledged() == 0;
}

void RtmpClient::waitForWork() {
  const auto wanted = static_cast<short>(POLLIN | (session_.outputBytes() > 0 ? POLLOUT : 0));
  std::array<pollfd, 2> polled = {
      {{stop_.descriptor(), POLLIN, 0}, {stream_->descriptor(), wanted, 0}}};
  poll(polled.data(), polled.size(), pollTimeout());
  if (polled[0].revents != 0) stop_.clear();
  if ((polled[1].revents & ~POLLOUT) != 0) readable_ = true;
  if ((polled[1].revents & ~POLLIN) != 0) writable_ = true;
}

int RtmpClient::pollTimeout() const {
  if (readable_ || sendFailed_) return 0;  // TLS may hold data that poll() does not see
  if (streamEnded_) return kFinishPollMs;
  if (!session_.awaitsServer()) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
  return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

void RtmpClient::close() {
  std::unique_ptr<ByteStream> closing;
  const MutexLock lock(mutex_);
  if (!stream_) return;
  lastAcknowledged_ = stream_->acknowledged();
  closing = std::move(stream_);
}

}  // namespace NimboEngine
