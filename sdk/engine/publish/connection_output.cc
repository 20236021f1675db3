#include "publish/connection_output.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "publish/connection.h"

namespace NimboEngine {
namespace {

bool isHeader(PacketKind kind) {
  return kind == PacketKind::kMetadata || kind == PacketKind::kVideoHeader ||
         kind == PacketKind::kAudioHeader;
}

std::optional<FrameKind> frameKind(PacketKind kind) {
  switch (kind) {
    case PacketKind::kVideoKeyFrame:
      return FrameKind::kKeyFrame;
    case PacketKind::kVideoFrame:
      return FrameKind::kDeltaFrame;
    case PacketKind::kAudioFrame:
      return FrameKind::kAudio;
    default:
      return std::nullopt;
  }
}

}  // namespace

ConnectionOutput::ConnectionOutput(bool audioOnly, Events events)
    : events_(std::move(events)), gate_(audioOnly) {}

void ConnectionOutput::attach(Connection* connection) {
  const MutexLock lock(mutex_);
  connection_ = connection;
  sendQueue_ = {};
  payload_ = 0;
  acknowledgedBefore_ = connection->acknowledged();
  firstFrame_.reset();
  gate_.open();
}

void ConnectionOutput::detach() {
  const MutexLock lock(mutex_);
  connection_ = nullptr;
  gate_.close();
}

void ConnectionOutput::onPacket(GstBuffer* packet) {
  const PacketKind kind = muxer_->kindOf(packet);
  const std::optional<FrameKind> frame = frameKind(kind);
  MutexLock lock(mutex_);
  if (isHeader(kind)) headers_[kind] = share(packet);
  if (kind == PacketKind::kVideoHeader) videoHeaderChanged_ = true;
  if (!connection_ || !frame) return;
  const FrameGate::Decision decision = gate_.decide(*frame, waiting());
  const uint32_t timestamp = muxer_->timestampOf(packet);
  // The muxer outputs the new codec header first and then its metadata: both are held for the key
  // frame that follows.
  const bool newFormat = kind == PacketKind::kVideoKeyFrame && decision.send && videoHeaderChanged_;
  if (decision.first || newFormat) {
    sendHeader(PacketKind::kMetadata, timestamp);
    sendHeader(PacketKind::kVideoHeader, timestamp);
    videoHeaderChanged_ = false;
  }
  if (decision.first) sendHeader(PacketKind::kAudioHeader, timestamp);
  if (decision.send) send(share(packet));
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

LinkSample ConnectionOutput::sample() {
  const MutexLock lock(mutex_);
  if (!connection_) return {};
  return {.waiting = waiting(),
          .empty = connection_->backlog() == 0,
          .taken = connection_->acknowledged()};
}

bool ConnectionOutput::hasTakenFirstFrame() {
  const MutexLock lock(mutex_);
  return connection_ && firstFrame_ && connection_->acknowledged() >= *firstFrame_;
}

std::chrono::milliseconds ConnectionOutput::waiting() {
  return sendQueue_.playingTime(connection_->backlog());
}

void ConnectionOutput::send(GstPtr<GstBuffer> packet) {
  const gsize size = gst_buffer_get_size(packet.get());
  // Headers repeated to a connection carry the time of the frame that follows, so times stay in
  // order.
  sendQueue_.add(size, muxer_->timestampOf(packet.get()));
  // The container's framing may not be sent; that of the protocol, which replaces it, is not
  // counted: so the sum never exceeds the bytes sent.
  payload_ += size - std::min<gsize>(size, muxer_->framing);
  connection_->send(std::move(packet));
}

void ConnectionOutput::sendHeader(PacketKind kind, uint32_t timestamp) {
  const auto header = headers_.find(kind);
  if (header != headers_.end()) send(muxer_->withTimestamp(header->second.get(), timestamp));
}

}  // namespace NimboEngine
