#include "play/rtp_alignment.h"

#include <algorithm>
#include <cstdlib>

namespace NimboEngine {
namespace {

using Nanoseconds = RtpAlignment::Nanoseconds;

constexpr Nanoseconds kMillisecond = 1'000'000;
constexpr Nanoseconds kSecond = 1'000'000'000;

// A packet this far from the average of the arrivals has a time stamp of another mapping. Servers
// that start with a cached GOP send some seconds of it at once.
constexpr Nanoseconds kOtherMapping = 10 * kSecond;
// The average of the arrivals gains this part of each difference: it follows clocks that drift
// apart, and takes several hundred packets to follow anything else.
constexpr int kLeadDivisor = 256;
// Reports that differ by less agree: they are generated a few milliseconds apart from the packets.
constexpr Nanoseconds kReportsAgree = 10 * kMillisecond;
// A server may send a report before the packet whose time stamp it contains.
constexpr int kStampsAfterReport = 4;
// Each stream reports every 5 s or so; six reports are three of each.
constexpr size_t kReportsKept = 6;
// A larger error is corrected immediately, a smaller one gradually with each time stamp: at 30
// frames per second, by 30 ms per second.
constexpr Nanoseconds kStep = 100 * kMillisecond;
constexpr Nanoseconds kSlew = kMillisecond;

}  // namespace

size_t RtpAlignment::add(const Stream& stream) {
  const MutexLock lock(mutex_);
  states_.emplace_back().stream = stream;
  return states_.size() - 1;
}

void RtpAlignment::remove(size_t stream) {
  const MutexLock lock(mutex_);
  states_[stream] = State{};
}

// Time stamps have 32 bits: 13 hours of video. A time stamp less than half of that ahead of the
// latest one is later, any other earlier.
int64_t RtpAlignment::unwrap(const State& state, uint32_t rtpTime) {
  if (!state.last) return rtpTime;
  return *state.last + static_cast<int32_t>(rtpTime - static_cast<uint32_t>(*state.last));
}

Nanoseconds RtpAlignment::streamTime(const State& state, int64_t unwrapped) {
  const int64_t rate = state.stream.clockRate;
  return unwrapped / rate * kSecond + unwrapped % rate * kSecond / rate;
}

// The stream that never moves: the first audio stream that has begun, or else the first one.
RtpAlignment::State* RtpAlignment::reference() {
  State* first = nullptr;
  for (State& state : states_) {
    if (!state.last) continue;
    if (state.stream.audio) return &state;
    if (!first) first = &state;
  }
  return first;
}

Nanoseconds RtpAlignment::present(size_t stream, uint32_t rtpTime, Nanoseconds arrival) {
  const MutexLock lock(mutex_);
  State& state = states_[stream];
  const int64_t unwrapped = unwrap(state, rtpTime);
  if (!state.last) {
    begin(state, unwrapped, arrival);
  } else {
    const Nanoseconds ahead = streamTime(state, unwrapped) + state.shift - arrival - state.lead;
    if (std::abs(ahead) > kOtherMapping) {
      restart(state, unwrapped, arrival);
    } else {
      state.lead += ahead / kLeadDivisor;
      // Packets of one frame share their time stamp and keep sharing it.
      if (unwrapped != *state.last) move(state);
    }
  }
  const bool first = !state.last;
  if (unwrapped != state.last) {
    state.recent[state.nextRecent++ % state.recent.size()] = unwrapped;
    state.last = unwrapped;
    if (state.pending && --state.pendingFor == 0) {
      take(state, isInterpolated(state));
      state.pending.reset();
    } else if (state.pending && first && state.origin == Origin::kArrival) {
      take(state, false);
      moveBy(state, state.target - state.shift);
    }
  }
  return streamTime(state, unwrapped) + state.shift;
}

void RtpAlignment::begin(State& state, int64_t unwrapped, Nanoseconds arrival) {
  restart(state, unwrapped, arrival);
  if (!state.stream.commonInstant) return;
  const auto commonTime = [](const State& of, int64_t near) {
    State at;
    at.last = near;
    return streamTime(of, unwrap(at, *of.stream.commonInstant));
  };
  const auto leader = std::find_if(states_.begin(), states_.end(), [&](const State& other) {
    return &other != &state && other.last && other.origin == Origin::kRtpInfo;
  });
  if (leader != states_.end()) {
    const Nanoseconds shift =
        leader->shift + commonTime(*leader, *leader->last) - commonTime(state, unwrapped);
    // Some servers fill the field with arbitrary values.
    if (std::abs(shift - state.shift) > kHeadroom) return;
    state.target = shift;
    moveBy(state, shift - state.shift);
  }
  state.origin = Origin::kRtpInfo;
}

void RtpAlignment::restart(State& state, int64_t unwrapped, Nanoseconds arrival) {
  state.shift = state.target = arrival + kHeadroom - streamTime(state, unwrapped);
  state.lead = kHeadroom;
  state.origin = Origin::kArrival;
  state.wallShift.reset();
  state.wanted.clear();
  state.wantedInterpolated = false;
}

void RtpAlignment::report(size_t stream, uint32_t rtpTime, uint64_t wallClock) {
  const MutexLock lock(mutex_);
  State& state = states_[stream];
  state.pending = Report{rtpTime, wallClock};
  state.pendingFor = kStampsAfterReport;
  // In any case better than the arrival.
  if (state.last && state.origin == Origin::kArrival) take(state, false);
}

// Returns whether the pending report's time stamp is not that of a packet, rounded or not.
bool RtpAlignment::isInterpolated(const State& state) {
  const int64_t stamp = unwrap(state, state.pending->rtpTime);
  return std::none_of(state.recent.begin(), state.recent.end(),
                      [=](int64_t recent) { return std::abs(recent - stamp) <= 1; });
}

// Uses the pending report.
void RtpAlignment::take(State& state, bool interpolated) {
  const int64_t unwrapped = unwrap(state, state.pending->rtpTime);
  state.wallShift =
      static_cast<Nanoseconds>(state.pending->wallClock) - streamTime(state, unwrapped);
  state.interpolated = interpolated;
  const State* leader = reference();
  if (!leader->wallShift) return;
  if (&state != leader) return follow(state, *leader);
  for (State& other : states_) {
    if (&other != leader && other.last && other.wallShift) follow(other, *leader);
  }
}

void RtpAlignment::follow(State& state, const State& leader) {
  const Nanoseconds wanted = *state.wallShift - *leader.wallShift;
  if (std::abs(leader.shift + wanted - state.shift) > kHeadroom) return;  // not of the same clock
  const bool interpolated = state.interpolated && leader.interpolated;
  if (state.wantedInterpolated && !interpolated) return;
  if (interpolated && !state.wantedInterpolated) state.wanted.clear();
  state.wantedInterpolated = interpolated;
  state.wanted.push_back(wanted);
  if (state.wanted.size() > kReportsKept) state.wanted.pop_front();
  std::vector<Nanoseconds> sorted(state.wanted.begin(), state.wanted.end());
  std::sort(sorted.begin(), sorted.end());
  const bool agree =
      sorted.size() == kReportsKept && sorted.back() - sorted.front() < kReportsAgree;
  const bool haveInfo = state.origin == Origin::kRtpInfo && leader.origin == Origin::kRtpInfo;
  if (haveInfo && !interpolated && !agree) return;
  state.origin = Origin::kReports;
  state.target = leader.shift + sorted[sorted.size() / 2];
}

// Moves the stream towards its target.
void RtpAlignment::move(State& state) {
  const Nanoseconds missing = state.target - state.shift;
  moveBy(state, std::abs(missing) > kStep ? missing : std::clamp(missing, -kSlew, kSlew));
}

void RtpAlignment::moveBy(State& state, Nanoseconds step) {
  state.shift += step;
  state.lead += step;
}

}  // namespace NimboEngine
