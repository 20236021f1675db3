#include "scripted_sdk_test.h"

using LumoRtc::LumoLivePlayer;
using LumoRtc::LumoLivePusher;

namespace {

class Callbacks : public ScriptedSdkTest {
 protected:
  void SetUp() override {
    ScriptedSdkTest::SetUp();
    pusher = LumoLivePusher::Create("");
    listener.attachTo(*pusher);
    player = LumoLivePlayer::Create("");
    player->setPlayInfoListener(&listener);
    player->setVideoFrameListener(&listener);
  }
  void TearDown() override {
    player->destroy();
    ScriptedSdkTest::TearDown();
  }

  // Fires and returns what the listener noted.
  Json noted(const Json& fields) {
    const size_t before = listener.notes().size();
    const Json result = fire(fields);
    EXPECT_EQ(result["delivered"], true) << result.dump();
    const Json notes = listener.notes();
    EXPECT_EQ(notes.size(), before + 1);
    return notes.back();
  }

  RecordingListener listener;
  LumoLivePusher* pusher = nullptr;
  LumoLivePlayer* player = nullptr;
};

TEST_F(Callbacks, AllReachTheirListenerUnderTheirOwnName) {
  const Json known = ask("names")["callbacks"];
  EXPECT_EQ(known.size(), 31U);
  for (const std::string whole : known) {
    SCOPED_TRACE(whole);
    Json fields = {{"callback", whole}};
    if (whole.ends_with("VideoSample")) fields["frame"] = {{"width", 2}, {"height", 2}};
    const Json note = noted(fields);
    const auto dot = whole.find('.');
    EXPECT_EQ(note["name"], whole.substr(dot + 1));
    const void* object =
        whole.substr(0, dot) == "pusher" ? static_cast<void*>(pusher) : static_cast<void*>(player);
    const bool namesNobody = whole.ends_with("onAudioVolumeCallback");
    EXPECT_EQ(note["object"], namesNobody ? Json() : pointerJson(object));
  }
}

TEST_F(Callbacks, CarryTheirArguments) {
  EXPECT_EQ(noted({{"callback", "onSDKError"}, {"code", -5}, {"msg", "m"}})["args"],
            (Json{-5, "m"}));
  EXPECT_EQ(noted({{"callback", "onSetLiveMixTranscodingConfig"},
                   {"isSuccess", true},
                   {"message", {{"hex", "41"}}}})["args"],
            (Json{true, "A"}));
  EXPECT_EQ(noted({{"callback", "onError"}, {"code", 7}, {"message", "e"}})["args"],
            (Json{7, "e"}));
  EXPECT_EQ(noted({{"callback", "onNetworkQualityChange"}, {"quality", 4294967295U}})["args"],
            (Json::array({4294967295U})));
  EXPECT_EQ(noted({{"callback", "player.onActiveSpeaker"}, {"userType", -1}})["args"],
            (Json::array({-1})));
  EXPECT_EQ(noted({{"callback", "onPlayerStatistics"},
                   {"userId", "u"},
                   {"channelId", "c"},
                   {"videoWidth", 1},
                   {"videoHeight", 2},
                   {"decodeFps", 3},
                   {"renderFps", 4},
                   {"videoBitrate", 5},
                   {"audioBitrate", 6},
                   {"audioLossRate", 7},
                   {"lossRate", -8}})["args"],
            (Json{"u", "c", 1, 2, 3, 4, 5, 6, 7, -8}));
}

TEST_F(Callbacks, CarryVolumesWithACountOfTheirOwn) {
  const Json volumes = {{{"userType", 2},
                         {"player", pointerJson(player)},
                         {"speechState", true},
                         {"volume", 3},
                         {"sumVolume", 4}},
                        {{"userType", 1}}};
  EXPECT_EQ(noted({{"callback", "player.onAudioVolumeCallback"},
                   {"volumes", volumes},
                   {"totalVolume", 40}})["args"],
            (Json{{{2, pointerJson(player), true, 3, 4}, {1, nullptr, false, 0, 0}}, 2, 40}));
  EXPECT_EQ(noted({{"callback", "pusher.onAudioVolumeCallback"},
                   {"volumes", volumes},
                   {"count", 1}})["args"][1],
            1);
}

TEST_F(Callbacks, MayNameAnotherObject) {
  EXPECT_EQ(noted({{"callback", "onPlayStarted"}, {"player", nullptr}})["object"], nullptr);
  EXPECT_EQ(noted({{"callback", "onPushStarted"}, {"pusher", "0x10"}})["object"], "0x10");
}

TEST_F(Callbacks, AreAimedAtTheNewestPlayerOrTheOneNamed) {
  RecordingListener other;
  LumoLivePlayer* const newer = LumoLivePlayer::Create("");
  EXPECT_NE(newer, player);
  newer->setPlayInfoListener(&other);
  fire({{"callback", "onPlayStarted"}});
  EXPECT_EQ(other.notes().back()["object"], pointerJson(newer));
  fire({{"callback", "onPlayStarted"}, {"target", pointerJson(player)}});
  EXPECT_EQ(listener.notes().back()["object"], pointerJson(player));
  newer->destroy();
}

TEST_F(Callbacks, WithoutListenerOrObjectAreNotDelivered) {
  pusher->setPushInfoListener(nullptr);
  EXPECT_EQ(fire({{"callback", "onPushStarted"}}),
            (Json{{"delivered", false}, {"reason", "no listener"}}));
  LumoLivePusher::destroy();
  EXPECT_EQ(fire({{"callback", "onPushStarted"}}),
            (Json{{"delivered", false}, {"reason", "no pusher"}}));
  EXPECT_EQ(fire({{"callback", "onPlayStarted"}, {"target", "0x10"}}),
            (Json{{"delivered", false}, {"reason", "no player"}}));
  EXPECT_TRUE(listener.notes().empty());
}

TEST_F(Callbacks, GoThroughTheLastListenerOnDemand) {
  pusher->setPushInfoListener(nullptr);
  EXPECT_EQ(noted({{"callback", "onPushStarted"}, {"through", "last"}})["name"], "onPushStarted");
  LumoLivePusher::destroy();
  const Json late = {
      {"callback", "onPushStopped"}, {"through", "last"}, {"target", pointerJson(pusher)}};
  EXPECT_EQ(noted(late)["name"], "onPushStopped");
}

TEST_F(Callbacks, KeepStatisticsTextsForGood) {
  struct Keeper : RecordingListener {
    const char* userId = nullptr;
    void onPlayerStatistics(Player*, LumoRtc::LumoLivePlayerStatsInfo stats) override {
      userId = stats.userId;
    }
  } keeper;
  player->setPlayInfoListener(&keeper);
  fire({{"callback", "onPlayerStatistics"}, {"userId", "somebody"}});
  ask("reset");
  EXPECT_STREQ(keeper.userId, "somebody");
  player->setPlayInfoListener(&listener);
}

TEST_F(Callbacks, WithMistakesAreRefused) {
  for (const Json& fields : {
           Json{{"callback", "onPushBegun"}},
           Json{{"callback", "onActiveSpeaker"}},
           Json{{"callback", "onPushStarted"}, {"code", 1}},
           Json{{"callback", "onSDKError"}, {"code", "1"}},
           Json{{"callback", "onSDKError"}, {"code", 4294967295U}},
           Json{{"callback", "onPushStarted"}, {"through", "next"}},
           Json{{"callback", "onPushStarted"}, {"target", "10"}},
           Json{{"callback", "onCaptureVideoSample"}},
           Json{{"callback", "onCaptureVideoSample"}, {"frame", {{"with", 1}}}},
           Json{{"callback", "onCaptureVideoSample"},
                {"frame", {{"width", 2147483647}, {"height", 2147483647}}}},
       }) {
    EXPECT_TRUE(answerTo("fire", {{"fire", fields}}).contains("error")) << fields.dump();
  }
  EXPECT_TRUE(listener.notes().empty());
}

using Frames = Callbacks;

TEST_F(Frames, HaveTightStridesAndReturnTheListenersVerdict) {
  listener.onFrame = [](auto&) { return true; };
  const Json result =
      fire({{"callback", "onCaptureVideoSample"},
            {"source", 1},
            {"readBack", true},
            {"frame", {{"width", 3}, {"height", 3}, {"fill", {{"gradient", 250}}}}}});
  EXPECT_EQ(listener.notes().back()["args"], (Json{1, 3, 3, 3, 2, 2, true}));
  EXPECT_EQ(result["result"], true);
  // Rows of 7 more, columns of 3 more, planes of 61 more, modulo 256.
  EXPECT_EQ(result["frame"]["bytes"]["hex"],
            "fafd00"
            "010407"
            "080b0e"
            "373a"
            "3e41"
            "7477"
            "7b7e");
  EXPECT_EQ(result["frame"]["dataMoved"], false);
}

TEST_F(Frames, GiveBackWhatTheListenerWrote) {
  listener.onFrame = [](auto& frame) {
    frame.data[0] = 1;
    frame.width = 99;
    return false;
  };
  const Json result = fire({{"callback", "onRemoteVideoSample"},
                            {"readBack", true},
                            {"frame", {{"width", 2}, {"height", 2}, {"fill", 7}}}});
  EXPECT_EQ(result["result"], false);
  EXPECT_EQ(result["frame"]["bytes"]["hex"], "010707070707");
  EXPECT_EQ(result["frame"]["width"], 99);
}

TEST_F(Frames, TakeGivenStridesBytesAndSizes) {
  const Json wide = {{"width", 2},   {"height", 1},  {"strideY", 4},
                     {"strideU", 2}, {"strideV", 3}, {"fill", {{"hex", "0102"}}}};
  const Json result =
      fire({{"callback", "onCaptureVideoSample"}, {"readBack", true}, {"frame", wide}});
  EXPECT_EQ(result["frame"]["bytes"]["hex"], "010200000000000000");
  const Json huge = {{"width", 2147483647}, {"height", 2147483647}, {"size", 1}};
  EXPECT_EQ(fire({{"callback", "onCaptureVideoSample"}, {"frame", huge}})["delivered"], true);
  EXPECT_EQ(listener.notes().back()["args"][1], 2147483647);
}

TEST_F(Frames, MayHaveNoPixelsAndSenselessNumbers) {
  const Json empty = {{"width", -1}, {"height", -2}, {"strideU", 0}, {"fill", nullptr}};
  const Json result =
      fire({{"callback", "onCaptureVideoSample"}, {"readBack", true}, {"frame", empty}});
  EXPECT_EQ(listener.notes().back()["args"][6], false);
  EXPECT_EQ(result["frame"]["bytes"], nullptr);
  EXPECT_EQ(result["frame"]["height"], -2);
}

}  // namespace
