// The volume reports: reads the meters of the local audio and of all players at equal intervals,
// and raises the volume events, including the active speaker's.
//
// Reports follow a fixed schedule; one that is more than an interval late is left out. They are
// raised whether or not something is captured or played: otherwise they hold only the local record,
// 0.
//
// Thread: everything on the engine thread, but for onAudioChunk.
// Ownership: engine thread and listeners are given and outlive it. It must outlive the capture
//   whose consumer it is.
// Failure: none.

#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "api/pusher_listeners.h"
#include "audio/level_meter.h"
#include "audio/speaker_choice.h"
#include "audio/volume_records.h"
#include "base/engine_thread.h"
#include "base/weak_owner_guard.h"
#include "media/frame_consumer.h"
#include "players/player_registry.h"

namespace NimboEngine {

struct VolumeSettings {
  std::chrono::milliseconds interval{};
  int smooth = 0;  // see VolumeRecords
  bool voice = false;
};

class VolumeIndicator final : public FrameConsumer {
 public:
  VolumeIndicator(EngineThread& engine, PusherListeners& listeners);
  ~VolumeIndicator();
  VolumeIndicator(const VolumeIndicator&) = delete;
  VolumeIndicator& operator=(const VolumeIndicator&) = delete;

  // The first report is raised an interval from now.
  void start(const VolumeSettings& settings);
  void stop();

  // While it is muted, the local user reads 0 and does not speak.
  void setMuted(bool muted);

  void onVideoFrame(GstBuffer*, const GstVideoInfo&, GstClockTime) override {}
  void onAudioChunk(GstBuffer* buffer, const AudioFormat& format, GstClockTime time) override;

 private:
  using Clock = EngineThread::Clock;

  // The state while reports are enabled.
  struct Running {
    explicit Running(const VolumeSettings& wanted)
        : settings(wanted),
          records(wanted.smooth),
          speaker(wanted.voice),
          due(Clock::now() + wanted.interval) {}

    VolumeSettings settings;
    VolumeRecords records;
    SpeakerChoice speaker;
    Clock::time_point due;
    EngineThread::TaskId timer = 0;
  };

  void schedule();
  void tick();
  void report(const std::vector<AudiblePlayer>& players);
  std::vector<UserLevel> takeReadings(const std::vector<AudiblePlayer>& players);
  void notifyActiveSpeaker(LumoRtc::LumoLivePlayer* speaker,
                           const std::vector<AudiblePlayer>& players);
  void listenForVoice(bool on, const std::vector<AudiblePlayer>& players);

  EngineThread& engine_;
  PusherListeners& listeners_;
  LevelMeter local_;
  bool muted_ = false;
  std::optional<Running> running_;
  WeakOwnerGuard ownerGuard_;
};

}  // namespace NimboEngine
