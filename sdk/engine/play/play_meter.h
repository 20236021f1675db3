// What flows through one playback, counted where it passes and read once a second.
//
// Thread: any.
// Failure: none.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "NimboSdk/LumoLiveDefine.h"
#include "play/delay_meter.h"
#include "play/packet_counts.h"

namespace NimboEngine {

enum class Media { kVideo, kAudio };

// Totals since the playback began.
struct PlayCounts {
  uint64_t videoBytes = 0;  // encoded
  uint64_t audioBytes = 0;  // encoded
  uint64_t pictures = 0;    // decoded
  uint64_t shown = 0;       // given to the application and, where there is a window, drawn
  uint64_t sounds = 0;      // decoded pieces
  int width = 0;            // of the last picture
  int height = 0;
  StreamPackets packets{};

  // Whether anything has arrived or been decoded, and how much: grows while the stream flows.
  uint64_t arrived() const { return videoBytes + audioBytes + decoded(); }
  uint64_t decoded() const { return pictures + sounds; }
};

class PlayMeter {
 public:
  using Time = std::chrono::steady_clock::time_point;

  // Encoded data has come. `timestamp` is its place in the stream.
  void addEncoded(Media media, std::size_t bytes, Time now, std::chrono::nanoseconds timestamp);
  void addPicture(int width, int height);
  void addSound();
  void setPackets(const StreamPackets& packets);

  PlayCounts counts() const;

  // How late the latest data were at worst, since the last call. The pictures' time counts, that of
  // the sound only without pictures.
  std::chrono::milliseconds takeWorstDelay(Time now);

 private:
  mutable std::mutex mutex_;
  PlayCounts counts_;
  DelayMeter videoDelay_;
  DelayMeter audioDelay_;
};

// The figures of the time between two readings; its texts stay empty.
LumoRtc::LumoLivePlayerStatsInfo statisticsBetween(const PlayCounts& before,
                                                   const PlayCounts& after,
                                                   std::chrono::milliseconds time);

}  // namespace NimboEngine
