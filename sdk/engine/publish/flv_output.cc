#include "publish/flv_output.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "publish/connection.h"

namespace NimboEngine {
namespace {

bool isHeader(FlvTag kind) {
  return kind == FlvTag::kMetadata || kind == FlvTag::kVideoHeader || kind == FlvTag::kAudioHeader;
}

}  // namespace

FlvOutput::FlvOutput(bool audioOnly, Events events)
    : events_(std::move(events)), gate_(audioOnly) {}

void FlvOutput::attach(Connection* connection) {
  std::lock_guard lock(mutex_);
  connection_ = connection;
  sendQueue_ = {};
  payload_ = 0;
  acknowledgedBefore_ = connection->acknowledged();
  firstFrame_.reset();
  gate_.open();
}

void FlvOutput::detach() {
  std::lock_guard lock(mutex_);
  connection_ = nullptr;
  gate_.close();
}

void FlvOutput::deliver(GstPtr<GstBuffer> tag) {
  const FlvTag kind = classifyFlvTag(tag.get());
  std::unique_lock lock(mutex_);
  if (isHeader(kind)) headers_[kind] = share(tag.get());
  if (kind == FlvTag::kVideoHeader) videoHeaderChanged_ = true;
  if (!connection_) return;
  const FrameGate::Decision decision = gate_.decide(kind, waiting());
  // The muxer outputs the new codec header first and then its metadata: both are held for the key
  // frame that follows.
  const bool newFormat = kind == FlvTag::kVideoKeyFrame && decision.send && videoHeaderChanged_;
  if (decision.first || newFormat) {
    sendHeader(FlvTag::kMetadata, flvTimestamp(tag.get()));
    sendHeader(FlvTag::kVideoHeader, flvTimestamp(tag.get()));
    videoHeaderChanged_ = false;
  }
  if (decision.first) sendHeader(FlvTag::kAudioHeader, flvTimestamp(tag.get()));
  if (decision.send) send(std::move(tag));
  if (decision.first) firstFrame_ = acknowledgedBefore_ + payload_;
  if (decision.needsKeyFrame) {
    NIMBO_LOG_WARN("the network is too slow: {} frames dropped so far", gate_.dropped());
  }
  lock.unlock();
  if (decision.first || newFormat) events_.onMetadataSent();
  if (decision.first) events_.onFirstFrame();
  if (decision.beginsToDrop) events_.onFramesDropped();
  if (decision.needsKeyFrame) events_.onKeyFrameNeeded();
}

LinkSample FlvOutput::sample() {
  std::lock_guard lock(mutex_);
  if (!connection_) return {};
  return {.waiting = waiting(),
          .empty = connection_->backlog() == 0,
          .taken = connection_->acknowledged()};
}

bool FlvOutput::hasTakenFirstFrame() {
  std::lock_guard lock(mutex_);
  return connection_ && firstFrame_ && connection_->acknowledged() >= *firstFrame_;
}

std::chrono::milliseconds FlvOutput::waiting() {
  return sendQueue_.playingTime(connection_->backlog());
}

void FlvOutput::send(GstPtr<GstBuffer> tag) {
  const gsize size = gst_buffer_get_size(tag.get());
  // Headers repeated to a connection carry the time of the frame that follows, so times stay in
  // order.
  sendQueue_.add(size, flvTimestamp(tag.get()));
  // The framing of the file format is not sent; that of the protocol, which replaces it, is not
  // counted: so the sum never exceeds the bytes sent.
  payload_ += size - std::min<gsize>(size, kFlvTagFraming);
  connection_->send(std::move(tag));
}

void FlvOutput::sendHeader(FlvTag kind, uint32_t timestamp) {
  const auto header = headers_.find(kind);
  if (header != headers_.end()) send(withFlvTimestamp(header->second.get(), timestamp));
}

}  // namespace NimboEngine
