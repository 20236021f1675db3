// Makes the records of a volume report from the meters' readings.
//
// A volume is 255 times the peak's share of full scale, so 255 * 10^(dBFS / 20): 0 dBFS is 255,
// -6 dBFS 128, -20 dBFS 26, -48 dBFS and less 1 or 0. Smoothing by n makes it move a (n + 1)th of
// the way to each new peak, so 0 shows the peaks themselves. Audio of only zeros reads 0 at once: a
// muted microphone does not fade.
//
// Thread: one at a time.

#pragma once

#include <map>
#include <vector>

#include "NimboSdk/LumoLiveDefine.h"
#include "audio/level_meter.h"

namespace NimboEngine {

// One user's meter reading. The local user has no player.
struct UserLevel {
  LumoRtc::LumoLivePlayer* player = nullptr;
  LevelReading reading;
};

class VolumeRecords {
 public:
  explicit VolumeRecords(int smooth) : smooth_(smooth) {}

  // Returns one record for each user, in their order. `sumVolume` is the same in all: the sum of
  // the volumes, 255 at most.
  std::vector<LumoRtc::LumoLiveUserVolumeInfo> make(const std::vector<UserLevel>& users);

 private:
  const int smooth_;
  std::map<LumoRtc::LumoLivePlayer*, double> levels_;  // as last shown
};

}  // namespace NimboEngine
