// Players that draw into a window, on a display server of the test's own.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "NimboSdk/LumoLiveResult.h"
#include "support/recording_player_listener.h"
#include "support/test_clip.h"
#include "support/x_server.h"

namespace NimboEngine::test {
namespace {

using namespace LumoRtc;
using namespace std::chrono_literals;

using Colour = std::array<int, 3>;
constexpr Colour kBlack{0, 0, 0};
constexpr Colour kRed{255, 0, 0};
constexpr Colour kBlue{0, 0, 255};

class LivePlayerViewTest : public testing::Test {
 protected:
  LivePlayerViewTest() { listener.attachTo(player); }
  ~LivePlayerViewTest() override { player->destroy(); }

  void show(const XWindow& target) {
    uint32_t id = target.id();
    EXPECT_EQ(player->setPlayView(&id, 1, 1), kLumoLiveOk);
  }

  // Waits until the window has that colour there, with a guard against hanging.
  static bool shows(const XWindow& target, double x, double y, const Colour& wanted) {
    for (int i = 0; i < 2000; ++i) {
      const Colour seen = target.at(x, y);
      bool near = true;
      for (size_t part = 0; part < 3; ++part) near &= std::abs(seen[part] - wanted[part]) < 12;
      if (near) return true;
      std::this_thread::sleep_for(10ms);
    }
    return false;
  }

  const XServer server;
  const TestClip clip{320, 180, 60};
  RecordingPlayerListener listener;
  LumoLivePlayer* const player = LumoLivePlayer::Create("");
};

TEST_F(LivePlayerViewTest, ShowsTheWholeFrameAndReportsIt) {
  const XWindow window(Size{400, 400});
  show(window);
  player->startPlay(clip.path());
  ASSERT_TRUE(listener.events.waitFor("drawn"));
  EXPECT_TRUE(shows(window, 0.25, 0.4, kRed));
  EXPECT_TRUE(shows(window, 0.75, 0.4, kBlue));
  EXPECT_TRUE(shows(window, 0.25, 0.6, kBlue));
  EXPECT_TRUE(shows(window, 0.5, 0.05, kBlack));
  ASSERT_TRUE(listener.events.waitFor("statistics"));
  EXPECT_GT(listener.statistics().renderFps, 0);
  player->stopPlay();
  ASSERT_TRUE(listener.events.waitFor("stopped"));
  EXPECT_EQ(listener.rareEvents(), (std::vector<std::string>{"started", "drawn", "stopped"}));
}

// Returns the position of the frame's red quarter.
TEST_F(LivePlayerViewTest, RotatesAndMirrors) {
  const struct {
    LumoLiveRotation rotation;
    bool mirror;
    double x;
    double y;
  } cases[] = {
      {kLumoLiveRotation90, false, 0.75, 0.25},  {kLumoLiveRotation180, false, 0.75, 0.75},
      {kLumoLiveRotation270, false, 0.25, 0.75}, {kLumoLiveRotation0, true, 0.75, 0.25},
      {kLumoLiveRotation90, true, 0.25, 0.25},   {kLumoLiveRotation270, true, 0.75, 0.75},
  };
  const XWindow window(Size{300, 300});
  show(window);
  player->startPlay(clip.path());
  for (const auto& [rotation, mirror, x, y] : cases) {
    LumoLivePlayerConfig config;
    config.renderMode = kLumoLiveRenderModeStretch;
    config.rotation = rotation;
    config.isMirror = mirror;
    EXPECT_EQ(player->initPlayer(config), kLumoLiveOk);
    EXPECT_TRUE(shows(window, x, y, kRed)) << rotation << ' ' << mirror;
    EXPECT_TRUE(shows(window, 1 - x, y, kBlue));
    EXPECT_TRUE(shows(window, x, 1 - y, kBlue));
  }
}

TEST_F(LivePlayerViewTest, ModesFillTheWindow) {
  const XWindow window(Size{200, 400});
  show(window);
  player->startPlay(clip.path());
  for (const auto mode : {kLumoLiveRenderModeCrop, kLumoLiveRenderModeStretch}) {
    LumoLivePlayerConfig config;
    config.renderMode = mode;
    player->initPlayer(config);
    EXPECT_TRUE(shows(window, 0.1, 0.02, kRed));
    EXPECT_TRUE(shows(window, 0.9, 0.98, kBlue));
  }
}

TEST_F(LivePlayerViewTest, FollowsTheWindowAndMovesToAnother) {
  XWindow first(Size{400, 225});
  player->startPlay(clip.path());
  ASSERT_TRUE(listener.events.waitFor("frame"));
  show(first);
  EXPECT_TRUE(shows(first, 0.1, 0.1, kRed));
  first.resize({200, 500});
  EXPECT_TRUE(shows(first, 0.5, 0.05, kBlack));
  EXPECT_TRUE(shows(first, 0.25, 0.45, kRed));
  const XWindow second(Size{160, 90});
  show(second);
  EXPECT_TRUE(shows(second, 0.1, 0.1, kRed));
  EXPECT_EQ(player->setPlayView(nullptr, 0, 0), kLumoLiveOk);
  ASSERT_TRUE(listener.events.waitFor("frame", listener.frames + 10)) << "without a window";
}

TEST_F(LivePlayerViewTest, WhatTheListenerPaintsIsShown) {
  RecordingPlayerListener::detachFrom(player);
  listener.onFrame = [](LumoLiveVideoSource, LumoLiveVideoRawData& frame) {
    const auto luma = static_cast<size_t>(frame.strideY * frame.height);
    std::memset(frame.data, 63, luma);
    const auto chroma = static_cast<size_t>(frame.strideU * ((frame.height + 1) / 2));
    std::memset(frame.data + luma, 102, chroma);
    std::memset(frame.data + luma + chroma, 240, chroma);
    return true;
  };
  listener.attachTo(player);
  const XWindow window(Size{320, 180});
  show(window);
  player->startPlay(clip.path());
  EXPECT_TRUE(shows(window, 0.9, 0.9, kRed));
}

TEST_F(LivePlayerViewTest, AClosedWindowIsReportedAndThePlayerContinues) {
  XWindow window(Size{320, 180});
  show(window);
  player->startPlay(clip.path());
  ASSERT_TRUE(listener.events.waitFor("drawn"));
  window.destroy();
  ASSERT_TRUE(listener.events.waitFor("error -3103"));
  ASSERT_TRUE(listener.events.waitFor("frame", listener.frames + 10));
  const XWindow another(Size{320, 180});
  show(another);
  EXPECT_TRUE(shows(another, 0.1, 0.1, kRed));
}

TEST_F(LivePlayerViewTest, AnInvalidWindowIsReported) {
  uint32_t id = 0x7fffff;
  player->setPlayView(&id, 0, 0);
  player->startPlay(clip.path());
  ASSERT_TRUE(listener.events.waitFor("error -3103"));
  ASSERT_TRUE(listener.events.waitFor("drawn")) << "then the next frame counts as shown";
}

TEST_F(LivePlayerViewTest, AFrozenDisplayServerBlocksNothing) {
  const XWindow window(Size{320, 180});
  show(window);
  player->startPlay(clip.path());
  ASSERT_TRUE(listener.events.waitFor("drawn"));
  server.signal(SIGSTOP);
  ASSERT_TRUE(listener.events.waitFor("frame", listener.frames + 30));
  player->stopPlay();
  EXPECT_TRUE(listener.events.waitFor("stopped", 1, 2s));
  server.signal(SIGCONT);
}

}  // namespace
}  // namespace NimboEngine::test
