// Maps the 32-bit time stamps of both streams' frames to one continuous timeline.
//
// Time stamps keep their value in ms; the wrap at 2^32 is undone. At a jump a new epoch begins
// kEpochGapMs after the newest frame so far. It has another offset, the same for both streams, so
// that audio and video stay aligned. A jump is
//   - a step back by more than kMaxStepBackMs within one stream (a restarted publisher),
//   - a stream's first frame more than kMaxDistanceMs before the other stream,
//   - a step of more than kMaxDistanceMs beyond the newest frame of both streams.
// A stream that lags behind the other or pauses is therefore not a jump. Within a stream, time
// never decreases: after a smaller step back, frames repeat the last time until theirs is later.
//
// Only frames may be placed, no configurations and metadata: servers repeat those with the time
// stamp 0.
//
// Thread: any, one thread at a time.
// Ownership: a plain value.
// Failure: none.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace NimboEngine {

class FlvTimeline {
 public:
  static constexpr int64_t kMaxStepBackMs = 1'000;
  static constexpr int64_t kMaxDistanceMs = 10'000;
  static constexpr int64_t kEpochGapMs = 100;

  struct Place {
    int64_t ms = 0;         // of decoding; at least -kMaxDistanceMs
    bool newEpoch = false;  // both streams are discontinuous here
  };

  // `stream` is 0 or 1.
  Place place(std::size_t stream, uint32_t timestampMs);

 private:
  int64_t unwrap(uint32_t timestampMs);
  bool isJump(std::size_t stream, int64_t ms) const;

  std::optional<int64_t> raw_;                    // of the last frame, unwrapped
  std::optional<int64_t> newest_;                 // of both streams
  std::array<std::optional<int64_t>, 2> last_{};  // of each stream
  int64_t offset_ = 0;                            // from unwrapped time to the timeline
};

}  // namespace NimboEngine
