// Turns the 32-bit time stamps of the frames of both streams into one continuous timeline.
//
// Time stamps are kept as they are, in ms; the wrap at 2^32 is undone. Only where they jump do they
// get another origin, common to both streams so that audio and video stay together: a new epoch
// begins kEpochGapMs behind all that came before. A jump is
//   - a step back by more than kMaxStepBackMs within one stream (a publisher that came back),
//   - a stream's first frame more than kMaxDistanceMs before the other stream,
//   - a step by more than kMaxDistanceMs beyond the newest frame of either stream.
// So a stream may lag behind the other by any time, and one that pauses may go on. Within a stream,
// time never goes back: a smaller step back counts as none.
//
// Configurations and metadata must not be given: servers repeat them with the time stamp 0.
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
