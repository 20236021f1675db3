// Mixes through the public interface: players come and go in a mix that is being published. The
// content of a mix is checked by the end-to-end tests.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "NimboSdk/LumoLivePlayer.h"
#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoLiveResult.h"
#include "support/recording_listener.h"
#include "support/recording_player_listener.h"
#include "support/rtmp_server.h"
#include "support/test_clip.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

std::string idOf(LumoLivePlayer* player) {
  std::ostringstream text;
  text << static_cast<void*>(player);
  return text.str();
}

int mix(LumoLivePusher* pusher, const std::vector<std::string>& users) {
  LumoLiveTranscodingConfig config;
  for (const std::string& user : users) {
    config.mixStreams.Add({user.c_str(), 0, 0, 160, 180, 0});
  }
  return pusher->setLiveMixTranscodingConfig(&config);
}

class LiveMixTest : public testing::Test {
 protected:
  ~LiveMixTest() override { LumoLivePusher::destroy(); }

  const test::RtmpServer server;
  test::RecordingListener listener;
  LumoLivePusher* const pusher =
      LumoLivePusher::Create(R"({"camera": "test", "microphone": "test"})");
};

TEST_F(LiveMixTest, PlayersComeAndGoInAPublishedMix) {
  const test::TestClip clip(320, 180, 5);
  LumoLivePushConfig config;
  config.mResolution = 0;
  pusher->init(config);
  listener.attachTo(pusher);
  pusher->startPush(server.url().c_str());
  ASSERT_TRUE(listener.events.waitFor("first frame pushed"));
  constexpr int kRounds = 8;
  std::string gone;
  for (int round = 0; round < kRounds; ++round) {
    test::RecordingPlayerListener playing;
    LumoLivePlayer* player = LumoLivePlayer::Create("");
    playing.attachTo(player);
    player->startPlay(clip.path());
    ASSERT_EQ(mix(pusher, {"", round % 2 == 0 ? idOf(player) : clip.path()}), kLumoLiveOk);
    ASSERT_TRUE(playing.events.waitFor("drawn"));
    // Alternately while it plays, and while it stops.
    if (round % 3 == 0) player->stopPlay();
    gone = idOf(player);
    player->destroy();
    EXPECT_EQ(mix(pusher, {gone}), kLumoLiveNotFound);
    EXPECT_EQ(mix(pusher, {clip.path()}), kLumoLiveNotFound);
  }
  ASSERT_TRUE(listener.events.waitFor("mixed", kRounds));
  EXPECT_TRUE(listener.events.waitFor("not mixed: user \"" + gone +
                                      "\": no player has this ID or plays this URL"));
  EXPECT_NE(test::probe(server.url()).find("codec_name=h264|width=320|height=180"),
            std::string::npos);
  EXPECT_EQ(listener.events.count("connection lost"), 0);
}

}  // namespace
}  // namespace NimboEngine
