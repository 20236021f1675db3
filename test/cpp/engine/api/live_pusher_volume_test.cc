// Volume reports through the public interface.

#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoLiveResult.h"
#include "support/recording_listener.h"
#include "support/recording_player_listener.h"
#include "support/test_clip.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;

using Clock = std::chrono::steady_clock;

constexpr int kToneVolume = 51;  // of the test tone: a fifth of full scale

struct Report {
  Clock::time_point time;
  std::vector<LumoLiveUserVolumeInfo> records;
  int total;
};

class VolumeOperationsTest : public testing::Test {
 protected:
  VolumeOperationsTest() {
    listener.onVolume = [this](std::span<const LumoLiveUserVolumeInfo> records, int total) {
      std::lock_guard lock(mutex);
      reports.push_back({Clock::now(), {records.begin(), records.end()}, total});
      threads.insert(std::this_thread::get_id());
    };
    listener.attachTo(pusher);
  }
  ~VolumeOperationsTest() override { LumoLivePusher::destroy(); }

  void startCapture() {
    LumoLivePushConfig config;
    config.mAudioOnly = true;
    ASSERT_EQ(pusher->init(config), kLumoLiveOk);
    ASSERT_EQ(pusher->startPreview(nullptr, 0, 0), kLumoLiveOk);
    ASSERT_TRUE(listener.events.waitFor("preview started"));
  }

  // Returns the next `count` reports whose interval begins after this call, so without the report
  // in progress.
  std::vector<Report> nextReports(std::ptrdiff_t count) {
    const std::ptrdiff_t before = listener.events.count("volume") + 1;
    EXPECT_TRUE(listener.events.waitFor("volume", before + count));
    std::lock_guard lock(mutex);
    return {reports.begin() + before, reports.begin() + before + count};
  }

  std::mutex mutex;
  std::vector<Report> reports;
  std::set<std::thread::id> threads;
  test::RecordingListener listener;
  LumoLivePusher* const pusher =
      LumoLivePusher::Create(R"({"camera": "test", "microphone": "test"})");
};

TEST_F(VolumeOperationsTest, InvalidArgumentsAreRefused) {
  EXPECT_EQ(pusher->enableAudioVolumeIndication(100, 0, 0), kLumoLiveNotInitialized);
  EXPECT_EQ(pusher->enableAudioVolumeIndication(0, 0, 0), kLumoLiveNotInitialized);
  startCapture();
  for (const int interval : {1, 19, 10001, 2147483647}) {
    EXPECT_EQ(pusher->enableAudioVolumeIndication(interval, 0, 0), kLumoLiveInvalidArgument);
  }
  for (const int smooth : {-1, 11}) {
    EXPECT_EQ(pusher->enableAudioVolumeIndication(100, smooth, 0), kLumoLiveInvalidArgument);
  }
  for (const int off : {0, -1}) {
    EXPECT_EQ(pusher->enableAudioVolumeIndication(off, -1, -1), kLumoLiveOk);
  }
  for (const int interval : {20, 10000}) {
    EXPECT_EQ(pusher->enableAudioVolumeIndication(interval, 10, -1), kLumoLiveOk);
  }
}

TEST_F(VolumeOperationsTest, TheTestToneIsReportedAtTheRequestedInterval) {
  startCapture();
  EXPECT_EQ(pusher->enableAudioVolumeIndication(100, 0, 0), kLumoLiveOk);
  while (nextReports(1)[0].total == 0) {  // the tone begins a moment after the capture
  }
  const auto seen = nextReports(51);
  const std::chrono::duration<double> time = seen.back().time - seen.front().time;
  EXPECT_NEAR(time.count(), 5, 0.15);
  for (const Report& report : seen) {
    ASSERT_EQ(report.records.size(), 1u);
    EXPECT_EQ(report.records[0].userType, kLumoLiveUserVolumeLocal);
    EXPECT_EQ(report.records[0].player, nullptr);
    EXPECT_NEAR(report.records[0].volume, kToneVolume, 1);
    EXPECT_EQ(report.records[0].sumVolume, report.records[0].volume);
    EXPECT_EQ(report.total, report.records[0].volume);
    EXPECT_FALSE(report.records[0].speechState);
  }
  std::lock_guard lock(mutex);
  EXPECT_EQ(threads.size(), 1u);
}

TEST_F(VolumeOperationsTest, ALaterRequestReplacesTheFirst) {
  startCapture();
  pusher->enableAudioVolumeIndication(20, 0, 0);
  nextReports(10);
  pusher->enableAudioVolumeIndication(200, 0, 0);
  const auto seen = nextReports(6);
  const std::chrono::duration<double> time = seen.back().time - seen.front().time;
  EXPECT_NEAR(time.count(), 1, 0.15);
}

TEST_F(VolumeOperationsTest, AMutedMicrophoneReadsZeroWhateverTheSmoothing) {
  startCapture();
  pusher->enableAudioVolumeIndication(20, 10, 1);
  while (nextReports(1)[0].total < kToneVolume - 1) {
  }
  pusher->setMute(true, 0);
  for (const Report& report : nextReports(10)) {
    EXPECT_EQ(report.total, 0);
    EXPECT_EQ(report.records[0].volume, 0);
    EXPECT_FALSE(report.records[0].speechState);
  }
  pusher->setMute(false, 0);
  while (nextReports(1)[0].total < kToneVolume - 1) {
  }
}

TEST_F(VolumeOperationsTest, SwitchedOffNothingIsReported) {
  startCapture();
  pusher->enableAudioVolumeIndication(20, 0, 0);
  nextReports(1);
  pusher->enableAudioVolumeIndication(0, 0, 0);
  pusher->stopPreview();
  ASSERT_TRUE(listener.events.waitFor("preview stopped"));
  const auto count = listener.events.count("volume");
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(listener.events.count("volume"), count);
}

TEST_F(VolumeOperationsTest, WithoutCaptureTheLocalUserReadsZero) {
  startCapture();
  pusher->stopPreview();
  pusher->enableAudioVolumeIndication(20, 0, 1);
  for (const Report& report : nextReports(5)) EXPECT_EQ(report.total, 0);
}

TEST_F(VolumeOperationsTest, APlayerHasItsRecordAndBecomesTheActiveSpeaker) {
  startCapture();
  pusher->enableAudioVolumeIndication(50, 0, 0);
  ASSERT_TRUE(listener.events.waitFor("active speaker")) << "the test tone is alone";
  const test::TestClip clip(64, 64, 60);  // full loudness
  LumoLivePlayer* player = LumoLivePlayer::Create("");
  test::RecordingPlayerListener playing;
  std::atomic<int> loudest{0};
  playing.onVolume = [&](std::span<const LumoLiveUserVolumeInfo> records, int total) {
    EXPECT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].userType, kLumoLiveUserVolumeRemote);
    EXPECT_EQ(records[0].player, player);
    EXPECT_EQ(records[0].sumVolume, total);
    EXPECT_GE(total, records[0].volume);
    if (records[0].volume > loudest) loudest = records[0].volume;
  };
  playing.attachTo(player);
  player->startPlay(clip.path());
  ASSERT_TRUE(playing.events.waitFor("active speaker"));
  EXPECT_GT(loudest, 240);
  const Report report = nextReports(1)[0];
  ASSERT_EQ(report.records.size(), 2u);
  EXPECT_EQ(report.records[0].userType, kLumoLiveUserVolumeLocal);
  EXPECT_EQ(report.records[1].userType, kLumoLiveUserVolumeRemote);
  EXPECT_EQ(report.records[1].player, player);
  EXPECT_EQ(report.total, 255);
  EXPECT_EQ(listener.events.count("active speaker"), 1);

  player->stopPlay();
  ASSERT_TRUE(listener.events.waitFor("active speaker", 2)) << "the test tone is alone again";
  EXPECT_EQ(nextReports(1)[0].records.size(), 1u);
  EXPECT_EQ(playing.rareEvents().back(), "stopped");
  player->destroy();
}

}  // namespace
}  // namespace NimboEngine
