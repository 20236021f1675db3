// One resource fetched from a server or a file: its bytes from an offset on, in order.
//
// Thread: open() and read() on one thread, both block; stop() from any. The rest after open().
// Memory: that of one read(); nothing is fetched ahead.
// Failure: returned by open() and read(); nothing may be called after it.

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "fetch/fetch_failure.h"
#include "fetch/playlist.h"

namespace NimboEngine {

// The requested part of the resource.
struct ByteRange {
  uint64_t start = 0;
  std::optional<uint64_t> end;  // exclusive; none: to the end
};

class Fetch {
 public:
  enum class Read { kData, kEnd, kStopped, kFailed };

  virtual ~Fetch() = default;

  virtual std::optional<FetchFailure> open(const ByteRange& range) = 0;

  // Replaces `bytes` by received data, a part of the range; blocks until there is some.
  virtual Read read(std::vector<uint8_t>& bytes) = 0;
  const FetchFailure& failure() const { return failure_; }

  // Permanent: waiting calls, and all later ones, return immediately. The result of open() then has
  // no meaning.
  virtual void stop() = 0;
  virtual bool isStopped() const = 0;

  // Of the whole resource, not of the range.
  virtual std::optional<uint64_t> length() const = 0;
  virtual bool isSeekable() const = 0;

  // Decides which addresses a playlist fetched by this may contain.
  virtual NameAddress nameAddress() const = 0;

 protected:
  FetchFailure failure_;
};

}  // namespace NimboEngine
