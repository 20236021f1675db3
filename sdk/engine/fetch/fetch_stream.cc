#include "fetch/fetch_stream.h"

#include <utility>

#include "fetch/file_fetch.h"
#include "fetch/http_fetch.h"

namespace NimboEngine {
namespace {

constexpr int kMostBreaks = 3;
constexpr uint64_t kProgressBytes = 65536;

}  // namespace

FetchStream::FetchStream(FetchUri uri)
    : uri_(std::move(uri)), access_(FetchAccess::find(uri_.player)) {}

void FetchStream::seek(const ByteRange& range) {
  const MutexLock lock(mutex_);
  fetch_.reset();
  ended_ = false;
  position_ = range.start;
  end_ = range.end;
  guard_.reset();
}

void FetchStream::interrupt() {
  const MutexLock lock(mutex_);
  interrupted_ = true;
  if (fetch_) fetch_->stop();
}

void FetchStream::resume() {
  const MutexLock lock(mutex_);
  interrupted_ = false;
  if (fetch_ && fetch_->isStopped()) fetch_.reset();
}

std::optional<uint64_t> FetchStream::length() const {
  const MutexLock lock(mutex_);
  return length_;
}

bool FetchStream::isSeekable() const {
  const MutexLock lock(mutex_);
  return seekable_;
}

Fetch::Read FetchStream::read(std::vector<uint8_t>& bytes) {
  bytes.clear();
  if (!access_) return Fetch::Read::kStopped;
  while (!ended_) {
    const auto fetch = begin();
    if (!fetch) return failure_ ? Fetch::Read::kFailed : Fetch::Read::kStopped;
    switch (fetch->read(bytes)) {
      case Fetch::Read::kStopped:
        return Fetch::Read::kStopped;
      case Fetch::Read::kEnd:
        return finish(bytes);
      case Fetch::Read::kFailed:
        if (!mayContinue()) return fail(fetch->failure());
        break;
      case Fetch::Read::kData:
        if (guard_) {
          if (const auto failure = guard_->feed(bytes)) return fail(*failure);
        }
        if (bytes.empty()) break;
        position_ += bytes.size();
        return Fetch::Read::kData;
    }
  }
  return Fetch::Read::kEnd;
}

// Returns the current fetch, opening it if necessary. Null after an interruption or a failure.
std::shared_ptr<Fetch> FetchStream::begin() {
  std::shared_ptr<Fetch> fetch;
  {
    const MutexLock lock(mutex_);
    failure_.reset();
    if (interrupted_) return nullptr;
    if (fetch_) return fetch_;
    if (uri_.isFile()) {
      fetch_ = std::make_shared<FileFetch>(uri_);
    } else {
      fetch_ = std::make_shared<HttpFetch>(uri_, access_->settings());
    }
    fetch = fetch_;
  }
  const auto failure = fetch->open({position_, end_});
  if (fetch->isStopped()) return nullptr;
  if (failure) {
    fail(*failure);
    return nullptr;
  }
  // A guard sees everything from the beginning on. It stays when a broken connection is replaced.
  if (position_ == 0) guard_.emplace(uri_.kind, access_->settings(), fetch->nameAddress());
  const MutexLock lock(mutex_);
  if (!std::exchange(known_, true)) {
    length_ = fetch->length();
    seekable_ = fetch->isSeekable();
  }
  return fetch;
}

Fetch::Read FetchStream::fail(const FetchFailure& failure) {
  failure_ = failure;
  access_->report(uri_.kind, failure);
  return Fetch::Read::kFailed;
}

// Only the address that the application requested: the demultiplexer itself retries what a playlist
// names.
bool FetchStream::mayContinue() {
  if (position_ >= progress_ + kProgressBytes) {
    progress_ = position_;
    breaks_ = 0;
  }
  const MutexLock lock(mutex_);
  const bool worthwhile = uri_.kind == FetchKind::kStream && seekable_ && length_ &&
                          position_ > 0 && position_ < *length_ && breaks_ < kMostBreaks;
  if (!worthwhile) return false;
  ++breaks_;
  fetch_.reset();
  return true;
}

Fetch::Read FetchStream::finish(std::vector<uint8_t>& bytes) {
  ended_ = true;
  bytes.clear();
  if (guard_) {
    if (const auto failure = guard_->finish(bytes)) return fail(*failure);
    if (guard_->isPlaylist()) {
      const MutexLock lock(mutex_);
      length_ = bytes.size();
      seekable_ = false;
    }
  }
  position_ += bytes.size();
  return bytes.empty() ? Fetch::Read::kEnd : Fetch::Read::kData;
}

}  // namespace NimboEngine
