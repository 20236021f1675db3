// The stream that the source element reads: one address, fetched and guarded from any position on.
// If a connection breaks and the length is known, the rest is fetched again.
//
// Thread: read() and seek() on one thread at a time; interrupt() and resume() on any.
// Failure: see read(). The player's FetchAccess is notified of each failure first.

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "base/mutex.h"
#include "fetch/body_guard.h"
#include "fetch/fetch.h"
#include "fetch/fetch_access.h"

namespace NimboEngine {

class FetchStream {
 public:
  explicit FetchStream(FetchUri uri);

  // See Fetch::read() and Fetch::failure(); kStopped after interrupt().
  Fetch::Read read(std::vector<uint8_t>& bytes);
  const FetchFailure& failure() const { return *failure_; }

  // Takes effect with the next read().
  void seek(const ByteRange& range);
  uint64_t position() const { return position_; }

  // Makes read() return immediately, until resume().
  void interrupt();
  void resume();

  // Known once something was read.
  std::optional<uint64_t> length() const;
  bool isSeekable() const;

 private:
  std::shared_ptr<Fetch> begin();
  Fetch::Read fail(const FetchFailure& failure);
  bool mayContinue();
  Fetch::Read finish(std::vector<uint8_t>& bytes);

  const FetchUri uri_;
  const std::shared_ptr<FetchAccess> access_;

  mutable Mutex mutex_;
  bool interrupted_ NIMBO_GUARDED_BY(mutex_) = false;
  std::shared_ptr<Fetch> fetch_ NIMBO_GUARDED_BY(mutex_);
  bool known_ NIMBO_GUARDED_BY(mutex_) = false;  // validity of the next two
  std::optional<uint64_t> length_ NIMBO_GUARDED_BY(mutex_);
  bool seekable_ NIMBO_GUARDED_BY(mutex_) = true;

  uint64_t position_ = 0;
  std::optional<uint64_t> end_;
  std::optional<BodyGuard> guard_;
  bool ended_ = false;
  int breaks_ = 0;  // of the connection, since progress was made
  uint64_t progress_ = 0;
  std::optional<FetchFailure> failure_;  // of the last read()
};

}  // namespace NimboEngine
