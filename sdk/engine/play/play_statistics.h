// The counters of one playback's media, read once a second.
//
// Thread: any.
// Failure: none.

#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "NimboSdk/LumoLiveDefine.h"
#include "base/mutex.h"
#include "play/packet_counts.h"
#include "play/presenter.h"

namespace NimboEngine {

// Totals since the playback began.
struct PlayCounts {
  uint64_t videoBytes = 0;   // encoded
  uint64_t audioBytes = 0;   // encoded
  uint64_t frames = 0;       // decoded
  uint64_t shown = 0;        // delivered to the application and, if there is a window, drawn
  uint64_t audioChunks = 0;  // decoded
  int width = 0;             // of the last frame
  int height = 0;
  StreamPackets packets{};
  Presenter::Counts presented{};

  // The amount that has arrived or been decoded: grows while the stream flows.
  uint64_t arrived() const { return videoBytes + audioBytes + decoded(); }
  uint64_t decoded() const { return frames + audioChunks; }
};

class PlayStatistics {
 public:
  void addEncoded(Media media, std::size_t bytes);
  void addFrame(int width, int height);
  void addAudio();
  void setPackets(const StreamPackets& packets);

  PlayCounts counts() const;

 private:
  mutable Mutex mutex_;
  PlayCounts counts_ NIMBO_GUARDED_BY(mutex_);
};

// Returns the statistics between two readings; its texts stay empty.
LumoRtc::LumoLivePlayerStatsInfo statisticsBetween(const PlayCounts& before,
                                                   const PlayCounts& after,
                                                   std::chrono::milliseconds time);

}  // namespace NimboEngine
