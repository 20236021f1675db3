#include "publish/flv_outlet.h"

#include <utility>

#include "log/log.h"
#include "publish/rtmp_connection.h"

namespace NimboEngine {
namespace {

bool isHeader(FlvTag kind) {
  return kind == FlvTag::kMetadata || kind == FlvTag::kVideoHeader || kind == FlvTag::kAudioHeader;
}

}  // namespace

FlvOutlet::FlvOutlet(bool audioOnly, std::size_t backlogLimit, Events events)
    : events_(std::move(events)), gate_(audioOnly, backlogLimit) {}

void FlvOutlet::attach(RtmpConnection* connection) {
  std::lock_guard lock(mutex_);
  connection_ = connection;
  gate_.open();
}

void FlvOutlet::detach() {
  std::lock_guard lock(mutex_);
  connection_ = nullptr;
  gate_.close();
}

void FlvOutlet::deliver(GstPtr<GstBuffer> tag) {
  const FlvTag kind = classifyFlvTag(tag.get());
  std::unique_lock lock(mutex_);
  if (isHeader(kind)) headers_[kind] = share(tag.get());
  if (!connection_) return;
  const TagGate::Verdict verdict = gate_.decide(kind, connection_->backlog());
  if (verdict.first) sendHeaders(flvTimestamp(tag.get()));
  if (verdict.send) connection_->send(std::move(tag));
  if (verdict.needsKeyFrame) {
    NIMBO_LOG_WARN("the network is too slow: {} frames left out so far", gate_.dropped());
  }
  lock.unlock();
  if (verdict.first) events_.onFirstFrame();
  if (verdict.needsKeyFrame) events_.onKeyFrameNeeded();
}

void FlvOutlet::sendHeaders(uint32_t timestamp) {
  for (const auto& [kind, header] : headers_) {
    connection_->send(withFlvTimestamp(header.get(), timestamp));
  }
}

}  // namespace NimboEngine
