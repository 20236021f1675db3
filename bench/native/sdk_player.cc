// Plays a URL with the SDK and prints each frame when it leaves the engine, see frame_report.h, and
// the player's events. Runs until it is terminated.
//
// Usage: sdk_player URL [SETTINGS], where SETTINGS is the JSON text for LumoLivePlayer::Create

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLiveResult.h"
#include "frame_report.h"

namespace {

using namespace LumoRtc;

class Listener final : public LumoLivePlayInfoListener, public LumoLiveVideoFrameListener {
 public:
  void onPlayStarted(LumoLivePlayer*) override { AvBench::reportEvent("event", "started"); }
  void onPlayStopped(LumoLivePlayer*) override { AvBench::reportEvent("event", "stopped"); }
  void onFirstVideoFrameDrawn(LumoLivePlayer*) override {}
  void onError(LumoLivePlayer*, LumoLivePlayError, const char* message) override {
    AvBench::reportEvent("error", message);
  }
  void onNetworkQualityChange(LumoLivePlayer*, LumoLiveNetworkQuality) override {}
  void onPlayerStatistics(LumoLivePlayer*, LumoLivePlayerStatsInfo) override {}
  void onAudioVolumeCallback(const LumoLiveUserVolumeInfo*, int, int) override {}
  void onActiveSpeaker(LumoLiveUserVolumeEnum, LumoLivePlayer*) override {}

  bool onCaptureVideoSample(LumoLivePusher*, LumoLiveVideoSource, LumoLiveVideoRawData&) override {
    return false;
  }
  bool onRemoteVideoSample(LumoLivePlayer*, LumoLiveVideoSource,
                           LumoLiveVideoRawData& frame) override {
    AvBench::reportFrame({frame.data, frame.strideY, frame.width, frame.height});
    return false;
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const AvBench::Termination termination;
  Listener listener;
  LumoLivePlayer* player = LumoLivePlayer::Create(argc > 2 ? argv[2] : "");
  if (!player) {
    AvBench::reportEvent("error", "no player with these settings");
    return 1;
  }
  player->setPlayInfoListener(&listener);
  player->setVideoFrameListener(&listener);
  const int result = player->startPlay(argv[1]);
  if (result != kLumoLiveOk) AvBench::reportEvent("error", "startPlay refused the URL");
  termination.wait();
  player->destroy();
  return result == kLumoLiveOk ? 0 : 1;
}
