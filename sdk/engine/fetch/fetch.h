// One thing that is fetched, from a server or a file: its bytes from an offset on, in order.
//
// Thread: open() and read() on one thread, both block; stop() from any. The rest after open().
// Memory: what one read() takes; nothing is fetched ahead.
// Failure: answered by open() and read(); nothing may be called after it.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "fetch/fetch_failure.h"
#include "fetch/playlist.h"

namespace NimboEngine {

// The part of the whole that is wanted.
struct ByteRange {
  uint64_t start = 0;
  std::optional<uint64_t> end;  // exclusive; none: to the end
};

class Fetch {
 public:
  enum class Read { kData, kEnd, kStopped, kFailed };

  virtual ~Fetch() = default;

  virtual std::optional<FetchFailure> open(const ByteRange& range) = 0;

  // Replaces `bytes` by what has come, a part of the range, waiting until something has.
  virtual Read read(std::vector<uint8_t>& bytes) = 0;
  const FetchFailure& failure() const { return failure_; }

  // For good: what waits, and all that follows, returns at once. What open() answers then means
  // nothing.
  virtual void stop() = 0;
  virtual bool isStopped() const = 0;

  // Of the whole, not of the range.
  virtual std::optional<uint64_t> length() const = 0;
  virtual bool isSeekable() const = 0;

  // Names what a playlist that was fetched by this may name.
  virtual NameAddress nameAddress() const = 0;

 protected:
  FetchFailure failure_;
};

}  // namespace NimboEngine
