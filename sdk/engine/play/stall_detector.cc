#include "play/stall_detector.h"

namespace NimboEngine {

using namespace LumoRtc;

std::optional<LumoLiveErrorCode> StallDetector::check(Time now, const PlayCounts& counts,
                                                      bool answered) {
  const bool begins = arrived_ == 0 && counts.arrived() > 0;
  const bool plays = counts.decoded() > 0;
  if (begins || (plays && (decoded_ == 0 || counts.arrived() != arrived_))) lastChange_ = now;
  arrived_ = counts.arrived();
  decoded_ = counts.decoded();
  const auto still = now - lastChange_;
  if (arrived_ == 0) {
    if (still < kArrival) return std::nullopt;
    return answered ? kLumoLiveErrorStreamNotFound : kLumoLiveErrorConnectTimeout;
  }
  if (decoded_ == 0) {
    return still < kDecoding ? std::nullopt : std::optional(kLumoLiveErrorUndecodable);
  }
  if (!silence_ || still < *silence_) return std::nullopt;
  return kLumoLiveErrorConnectionLost;
}

}  // namespace NimboEngine
