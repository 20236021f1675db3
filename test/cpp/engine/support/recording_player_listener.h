// Both listeners of a player in one: records each event, and counts the frames.
//
// Thread: any. Detach it before destroying it.

#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <span>
#include <string>

#include "NimboSdk/LumoLivePlayer.h"
#include "support/event_log.h"

namespace NimboEngine::test {

class RecordingPlayerListener final : public LumoRtc::LumoLivePlayInfoListener,
                                      public LumoRtc::LumoLiveVideoFrameListener {
  using Player = LumoRtc::LumoLivePlayer;

 public:
  void attachTo(Player* player) {
    player->setPlayInfoListener(this);
    player->setVideoFrameListener(this);
  }

  static void detachFrom(Player* player) {
    player->setPlayInfoListener(nullptr);
    player->setVideoFrameListener(nullptr);
  }

  void onPlayStarted(Player*) override { events.add("started"); }
  void onPlayStopped(Player*) override { events.add("stopped"); }
  void onFirstVideoFrameDrawn(Player*) override { events.add("drawn"); }
  void onError(Player*, LumoRtc::LumoLivePlayError code, const char* message) override {
    events.add("error " + std::to_string(code) + (*message ? "" : " without a message"));
  }
  void onNetworkQualityChange(Player*, LumoRtc::LumoLiveNetworkQuality quality) override {
    events.add("quality " + std::to_string(quality));
  }
  void onPlayerStatistics(Player*, LumoRtc::LumoLivePlayerStatsInfo stats) override {
    {
      std::lock_guard lock(mutex_);
      statistics_ = stats;
    }
    events.add("statistics");
  }
  void onAudioVolumeCallback(const LumoRtc::LumoLiveUserVolumeInfo* volumes, int count,
                             int total) override {
    if (onVolume) onVolume({volumes, static_cast<std::size_t>(count)}, total);
    events.add("volume");
  }
  void onActiveSpeaker(LumoRtc::LumoLiveUserVolumeEnum, Player*) override {
    events.add("active speaker");
  }

  bool onCaptureVideoSample(LumoRtc::LumoLivePusher*, LumoRtc::LumoLiveVideoSource,
                            LumoRtc::LumoLiveVideoRawData&) override {
    return false;
  }
  bool onRemoteVideoSample(Player*, LumoRtc::LumoLiveVideoSource source,
                           LumoRtc::LumoLiveVideoRawData& frame) override {
    ++frames;
    const bool changed = onFrame ? onFrame(source, frame) : false;
    events.add("frame");
    return changed;
  }

  LumoRtc::LumoLivePlayerStatsInfo statistics() const {
    std::lock_guard lock(mutex_);
    return statistics_;
  }

  // Without the frames and the statistics, of which there are many.
  std::vector<std::string> rareEvents() const {
    auto rare = events.all();
    std::erase_if(
        rare, [](const std::string& event) { return event == "frame" || event == "statistics"; });
    return rare;
  }

  EventLog events;
  std::atomic<int> frames{0};
  // Receives, and may change, each frame. To be set before the listener is attached.
  std::function<bool(LumoRtc::LumoLiveVideoSource, LumoRtc::LumoLiveVideoRawData&)> onFrame;
  // Receives each volume report. To be set before the listener is attached.
  std::function<void(std::span<const LumoRtc::LumoLiveUserVolumeInfo>, int total)> onVolume;

 private:
  mutable std::mutex mutex_;
  LumoRtc::LumoLivePlayerStatsInfo statistics_;
};

}  // namespace NimboEngine::test
