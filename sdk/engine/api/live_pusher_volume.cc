// LivePusher's operation that enables volume reports.

#include <chrono>

#include "api/live_pusher.h"
#include "base/log.h"

namespace NimboEngine {

using namespace LumoRtc;

namespace {

constexpr int32_t kShortestMs = 20;  // the length of a captured audio chunk
constexpr int32_t kLongestMs = 10'000;
constexpr int32_t kSmoothest = 10;

}  // namespace

int LivePusher::enableAudioVolumeIndication(int32_t interval, int32_t smooth, int32_t reportVad) {
  if (interval <= 0) return submit([](PusherSession& session) { session.stopVolumeReports(); });
  if (interval < kShortestMs || interval > kLongestMs) {
    NIMBO_LOG_ERROR("the interval of volume reports is {} ms, not {} to {}", interval, kShortestMs,
                    kLongestMs);
    return kLumoLiveInvalidArgument;
  }
  if (smooth < 0 || smooth > kSmoothest) {
    NIMBO_LOG_ERROR("the smoothing of volumes is {}, not 0 to {}", smooth, kSmoothest);
    return kLumoLiveInvalidArgument;
  }
  const VolumeSettings settings{std::chrono::milliseconds(interval), smooth, reportVad != 0};
  return submit([settings](PusherSession& session) { session.startVolumeReports(settings); });
}

}  // namespace NimboEngine
