// Players through the public interface, on files; live streams are in the end-to-end tests.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "NimboSdk/LumoLiveResult.h"
#include "gst/runtime.h"
#include "support/child_process.h"
#include "support/process_usage.h"
#include "support/recording_player_listener.h"
#include "support/test_clip.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;
using test::RecordingPlayerListener;
using test::TestClip;

using Clock = std::chrono::steady_clock;

// Exits while other threads still run, which the tests that use it are about.
[[noreturn]] void endProcess(int code) {
  std::exit(code);  // NOLINT(concurrency-mt-unsafe): see above
}

class LivePlayerTest : public testing::Test {
 protected:
  ~LivePlayerTest() override {
    if (player) player->destroy();
  }

  void destroy() {
    player->destroy();
    player = nullptr;
  }

  RecordingPlayerListener listener;
  LumoLivePlayer* player = LumoLivePlayer::Create("");
};

// Threads that stop pipelines are not joined.
bool comesDownTo(const test::ProcessUsage& wanted) {
  for (int i = 0; i < 500; ++i) {
    const test::ProcessUsage now = test::processUsage();
    if (now.threads <= wanted.threads && now.descriptors <= wanted.descriptors) return true;
    std::this_thread::sleep_for(10ms);
  }
  return false;
}

TEST_F(LivePlayerTest, IsNotCreatedWithSettingsThatMakeNoSense) {
  EXPECT_EQ(LumoLivePlayer::Create("nonsense"), nullptr);
  EXPECT_EQ(LumoLivePlayer::Create("[]"), nullptr);
  LumoLivePlayer* other = LumoLivePlayer::Create(nullptr);
  ASSERT_NE(other, nullptr);
  other->destroy();
}

TEST_F(LivePlayerTest, RefusesInvalidInput) {
  EXPECT_EQ(player->startPlay(nullptr), kLumoLiveInvalidArgument);
  EXPECT_EQ(player->startPlay("nonsense"), kLumoLiveInvalidArgument);
  EXPECT_EQ(player->stopPlay(), kLumoLiveInvalidState);
  EXPECT_EQ(player->setRemoteAudioVolume(401), kLumoLiveInvalidArgument);
  LumoLivePlayerConfig config;
  config.rotation = static_cast<LumoLiveRotation>(4);
  EXPECT_EQ(player->initPlayer(config), kLumoLiveInvalidArgument);
  config.rotation = kLumoLiveRotation0;
  config.renderMode = static_cast<LumoLiveRenderMode>(0xffffffff);
  EXPECT_EQ(player->initPlayer(config), kLumoLiveInvalidArgument);
}

TEST_F(LivePlayerTest, AFilePlaysToItsEnd) {
  const TestClip clip(320, 180, 2);
  listener.attachTo(player);
  ASSERT_EQ(player->startPlay(clip.path()), kLumoLiveOk);
  EXPECT_EQ(player->startPlay(clip.path()), kLumoLiveInvalidState);
  ASSERT_TRUE(listener.events.waitFor("started"));
  EXPECT_EQ(player->getPlayMode(), kLumoLivePlayModeTimed);
  ASSERT_TRUE(listener.events.waitFor("stopped"));
  EXPECT_EQ(player->getPlayMode(), kLumoLivePlayModeNone);
  EXPECT_EQ(listener.rareEvents(), (std::vector<std::string>{"started", "drawn", "stopped"}));
  EXPECT_LE(listener.frames, 60);
  EXPECT_GE(listener.frames, 45) << "a busy machine may drop frames";
  EXPECT_EQ(listener.statistics().videoWidth, 320);
  EXPECT_EQ(player->stopPlay(), kLumoLiveInvalidState) << "it has ended";
  EXPECT_EQ(player->startPlay(clip.path()), kLumoLiveOk) << "and once more";
  ASSERT_TRUE(listener.events.waitFor("started", 2));
}

// Padded to a multiple of 8 columns.
TEST_F(LivePlayerTest, FramesAreInOnePieceAlsoAtOddSizes) {
  const TestClip clip(101, 35, 1, "ffv1", ".mkv");
  std::atomic<int> wrong{0};
  listener.onFrame = [&](LumoLiveVideoSource source, LumoLiveVideoRawData& frame) {
    const uint8_t* u = frame.data + frame.strideY * frame.height;
    const uint8_t* v = u + frame.strideU * ((frame.height + 1) / 2);
    const bool right = source == kLumoLiveVideoSourceCamera && frame.width == 104 &&
                       frame.height == 35 && std::abs(frame.data[0] - 63) < 3 &&
                       std::abs(u[0] - 102) < 3 && std::abs(v[0] - 240) < 3 &&
                       std::abs(v[frame.strideV * 17 + 51] - 118) < 12;
    if (!right) ++wrong;
    return false;
  };
  listener.attachTo(player);
  player->startPlay(clip.path());
  ASSERT_TRUE(listener.events.waitFor("stopped"));
  EXPECT_GE(listener.frames, 20);
  EXPECT_EQ(wrong, 0);
}

TEST_F(LivePlayerTest, AudioAloneIsPlayedToo) {
  const std::string path = std::string(testing::TempDir()) + "nimbo-tone.m4a";
  test::ChildProcess({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "sine", "-t", "1", "-y", path})
      .wait();
  listener.attachTo(player);
  player->startPlay(path.c_str());
  ASSERT_TRUE(listener.events.waitFor("stopped"));
  EXPECT_EQ(listener.rareEvents(), (std::vector<std::string>{"started", "stopped"}));
  EXPECT_EQ(listener.frames, 0);
}

TEST_F(LivePlayerTest, TextsOfStatisticsOutliveThePlayer) {
  LumoLivePlayerStatsInfo kept;
  {
    const TestClip clip(64, 64, 2);
    listener.attachTo(player);
    player->startPlay(clip.path());
    ASSERT_TRUE(listener.events.waitFor("statistics"));
    kept = listener.statistics();
    EXPECT_EQ(std::string(clip.path()), std::string(kept.channelId) + "/" + kept.userId);
    destroy();
  }
  EXPECT_NE(std::string(kept.userId).find("nimbo-clip"), std::string::npos);
}

TEST_F(LivePlayerTest, EachStopIsConfirmedOnce) {
  const TestClip clip(64, 64, 5);
  listener.attachTo(player);
  for (int i = 1; i <= 20; ++i) {
    EXPECT_EQ(player->startPlay(clip.path()), kLumoLiveOk);
    EXPECT_EQ(player->stopPlay(), kLumoLiveOk);
  }
  ASSERT_TRUE(listener.events.waitFor("stopped", 20));
  player->startPlay(clip.path());
  ASSERT_TRUE(listener.events.waitFor("frame"));
  EXPECT_EQ(listener.events.count("stopped"), 20);
}

TEST_F(LivePlayerTest, NoFrameComesAfterStopped) {
  const TestClip clip(64, 64, 5);
  listener.attachTo(player);
  for (int i = 1; i <= 5; ++i) {
    player->startPlay(clip.path());
    ASSERT_TRUE(listener.events.waitFor("frame", listener.frames + 1));
    player->stopPlay();
    ASSERT_TRUE(listener.events.waitFor("stopped", i));
    EXPECT_EQ(listener.events.all().back(), "stopped");
  }
}

TEST_F(LivePlayerTest, ADetachedListenerIsNotCalledAnyMore) {
  const TestClip clip(64, 64, 30);
  player->startPlay(clip.path());
  for (int i = 0; i < 300; ++i) {
    auto passing = std::make_unique<RecordingPlayerListener>();
    std::atomic<bool> gone{false};
    passing->onFrame = [&gone](LumoLiveVideoSource, LumoLiveVideoRawData&) {
      EXPECT_FALSE(gone);
      return false;
    };
    passing->attachTo(player);
    if (i % 10 == 0) {
      ASSERT_TRUE(passing->events.waitFor("frame"));
    }
    RecordingPlayerListener::detachFrom(player);
    gone = true;
  }
}

TEST_F(LivePlayerTest, ADestroyedPlayerCallsNoListener) {
  const TestClip clip(64, 64, 30);
  for (int i = 0; i < 100; ++i) {
    RecordingPlayerListener passing;
    LumoLivePlayer* other = LumoLivePlayer::Create("");
    ASSERT_NE(other, nullptr);
    passing.attachTo(other);
    other->startPlay(clip.path());
    if (i % 4 == 0) {
      ASSERT_TRUE(passing.events.waitFor("frame"));
    }
    if (i % 4 == 1) other->stopPlay();
    other->destroy();
  }
}

TEST_F(LivePlayerTest, SixteenPlayAtOnceAndNoMore) {
  const TestClip clip(64, 64, 30);
  std::vector<LumoLivePlayer*> players{player};
  while (players.size() < 16) players.push_back(LumoLivePlayer::Create(""));
  EXPECT_EQ(LumoLivePlayer::Create(""), nullptr);
  std::vector<RecordingPlayerListener> listeners(players.size());
  for (std::size_t i = 0; i < players.size(); ++i) {
    listeners[i].attachTo(players[i]);
    EXPECT_EQ(players[i]->startPlay(clip.path()), kLumoLiveOk);
  }
  for (auto& each : listeners) EXPECT_TRUE(each.events.waitFor("frame", 30));
  for (LumoLivePlayer* each : players) each->destroy();
  player = LumoLivePlayer::Create("");
  EXPECT_NE(player, nullptr);
}

TEST_F(LivePlayerTest, TheProcessMayEndWhileItBeginsToPlay) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const TestClip clip(64, 64, 30);
  EXPECT_EXIT(endProcess(player->startPlay(clip.path())), testing::ExitedWithCode(kLumoLiveOk), "");
}

// SRT's library must not be used after its own destructors have run.
TEST_F(LivePlayerTest, TheProcessMayEndWhileItConnectsWithSrt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto endWhileItConnects = [this] {
    startGstreamer();  // a sanitizer makes that long
    player->startPlay("srt://127.0.0.1:1");
    std::this_thread::sleep_for(1s);
    endProcess(0);
  };
  EXPECT_EXIT(endWhileItConnects(), testing::ExitedWithCode(0), "");
}

TEST_F(LivePlayerTest, FiftyLifetimesLeakNothing) {
  constexpr int kWarmUp = 10;
  const TestClip clip(64, 64, 30);
  destroy();
  test::ProcessUsage before;
  for (int round = 0; round < 60; ++round) {
    if (round == kWarmUp) {
      ASSERT_TRUE(comesDownTo({.threads = 8, .descriptors = 40}));
      before = test::processUsage();
    }
    RecordingPlayerListener passing;
    LumoLivePlayer* other = LumoLivePlayer::Create("");
    passing.attachTo(other);
    other->startPlay(clip.path());
    ASSERT_TRUE(passing.events.waitFor("frame")) << round;
    other->destroy();
  }
  EXPECT_TRUE(comesDownTo(before));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  // Sanitizers have their own allocators, which are not counted here.
  EXPECT_LE(test::processUsage().heapKiB, before.heapKiB + 1024);
#endif
}

TEST_F(LivePlayerTest, ReturnsImmediately) {
  const TestClip clip(64, 64, 5);
  std::vector<Clock::duration> times;
  const auto timed = [&](auto request) {
    const auto begin = Clock::now();
    request();
    times.push_back(Clock::now() - begin);
  };
  for (int i = 0; i < 20; ++i) {
    timed([&] { player->startPlay(clip.path()); });
    timed([&] { player->setRemoteAudioVolume(50); });
    timed([&] { player->stopPlay(); });
  }
  std::sort(times.begin(), times.end());
  EXPECT_LT(times[times.size() * 9 / 10], 5ms);  // a busy machine may take the thread away
}

}  // namespace
}  // namespace NimboEngine
