// Counts the bytes that arrive for a playback until some of them can be decoded.
//
// Thread: any.
// Failure: add() returns false once too much has arrived.

#pragma once

#include <atomic>
#include <cstdint>

namespace NimboEngine {

class ArrivalLimit {
 public:
  explicit ArrivalLimit(uint64_t mostBytes) : most_(mostBytes) {}

  bool add(uint64_t bytes) {
    total_ += bytes;
    return (waiting_ += bytes) <= most_;
  }

  void onDecodable() { waiting_ = 0; }

  uint64_t total() const { return total_; }

 private:
  const uint64_t most_;
  std::atomic<uint64_t> waiting_{0};
  std::atomic<uint64_t> total_{0};
};

}  // namespace NimboEngine
