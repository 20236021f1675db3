// Converts the RTP time stamps of one session's streams into running times, aligned with each other
// as on the sender. Taking the arrival time of each stream's first packet instead would be wrong by
// the difference in age of these packets: tens of milliseconds, or seconds if a server begins with
// an older key frame.
//
// Within a stream, only the RTP time stamps count: the distance of two packets is that of their
// time stamps, whenever they arrived. Between streams there are three sources, best last:
//
//   arrival          arrival of the first packets; the only source if the server sends nothing else
//   RTP-Info         the PLAY answer's time stamps of one common instant; known at the first packet
//   sender reports   RTCP's pairs of wall clock and RTP time stamp; they arrive after seconds, and
//   also track clocks that drift apart
//
// A report whose time stamp equals that of a packet was not interpolated: its wall clock is the
// time of sending, some frames off the time of sampling. Such a coarse report replaces an arrival,
// but RTP-Info only if several agree; an interpolated one replaces both immediately. The first
// audio stream never moves, because a step there would be audible; the others follow it, gradually
// if the difference is small.
//
// Thread: any; one mutex.
// Ownership: holds values only.
// Failure: none. Time stamps that jump restart the mapping from the arrival.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "base/mutex.h"

namespace NimboEngine {

class RtpAlignment {
 public:
  using Nanoseconds = int64_t;

  // Added to every running time, so that a stream that begins with older packets than the first
  // stream did has no negative ones. It also limits how much older they can be.
  static constexpr Nanoseconds kHeadroom = 4'000'000'000;

  struct Stream {
    bool audio = false;
    uint32_t clockRate = 90'000;            // of the RTP time stamps, in Hz, not 0
    std::optional<uint32_t> commonInstant;  // RTP-Info's time stamp of the common instant
  };

  // Returns the stream's number.
  size_t add(const Stream& stream);

  // The stream has ended; the others no longer follow it.
  void remove(size_t stream);

  // Returns the running time of a packet with `rtpTime`. `arrival` is the running time of its
  // arrival, smoothed or not.
  Nanoseconds present(size_t stream, uint32_t rtpTime, Nanoseconds arrival);

  // Takes a sender report: the instant `wallClock` on the sender's clock was `rtpTime`.
  void report(size_t stream, uint32_t rtpTime, uint64_t wallClock);

 private:
  struct Report {
    uint32_t rtpTime;
    uint64_t wallClock;
  };

  enum class Origin { kArrival, kRtpInfo, kReports };

  struct State {
    Stream stream;
    std::optional<int64_t> last;       // unwrapped RTP time stamp of the latest packet
    std::optional<Report> pending;     // waits for the packets beside it
    int pendingFor = 0;                // for this many more time stamps
    std::array<int64_t, 64> recent{};  // the latest distinct ones
    size_t nextRecent = 0;
    std::optional<Nanoseconds> wallShift;  // wall clock minus stream time, by the latest report
    bool interpolated = false;             // the latest report
    Origin origin = Origin::kArrival;
    Nanoseconds shift = 0;            // running time minus stream time, in use
    Nanoseconds target = 0;           // where `shift` moves to
    Nanoseconds lead = 0;             // running time minus arrival, averaged
    bool wantedInterpolated = false;  // source of `wanted`
    std::deque<Nanoseconds> wanted;   // shift relative to the reference, by the reports
  };

  static int64_t unwrap(const State& state, uint32_t rtpTime);
  static Nanoseconds streamTime(const State& state, int64_t unwrapped);
  State* reference() NIMBO_REQUIRES(mutex_);
  void begin(State& state, int64_t unwrapped, Nanoseconds arrival) NIMBO_REQUIRES(mutex_);
  void restart(State& state, int64_t unwrapped, Nanoseconds arrival) NIMBO_REQUIRES(mutex_);
  void take(State& state, bool interpolated) NIMBO_REQUIRES(mutex_);
  static bool isInterpolated(const State& state);
  void follow(State& state, const State& leader) NIMBO_REQUIRES(mutex_);
  static void move(State& state);
  static void moveBy(State& state, Nanoseconds step);

  Mutex mutex_;
  std::vector<State> states_ NIMBO_GUARDED_BY(mutex_);
};

}  // namespace NimboEngine
