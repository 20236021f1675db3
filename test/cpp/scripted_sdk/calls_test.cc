#include <thread>

#include "scripted_sdk_test.h"

using LumoRtc::LumoLiveBase;
using LumoRtc::LumoLivePlayer;
using LumoRtc::LumoLivePusher;

namespace {

using Calls = ScriptedSdkTest;

template <class Record>
Json argsOf(const Record& make) {
  make();
  return lastCall()["args"];
}

TEST_F(Calls, ArePlacedInOrderWithTheirObject) {
  LumoLivePusher* const pusher = LumoLivePusher::Create("extra");
  pusher->startPush("rtmp://host/app");
  LumoLivePlayer* const player = LumoLivePlayer::Create(nullptr);
  player->startPlay("");
  LumoLiveBase::GetSDKVersion();

  const Json calls = recordsOf("call");
  ASSERT_EQ(calls.size(), 5U);
  const auto expect = [&](std::size_t at, const char* object, const char* name, const void* self,
                          const Json& args, const Json& result) {
    EXPECT_EQ(calls[at]["object"], object);
    EXPECT_EQ(calls[at]["name"], name);
    EXPECT_EQ(calls[at]["self"], pointerJson(self));
    EXPECT_EQ(calls[at]["args"], args);
    EXPECT_EQ(calls[at]["result"], result);
  };
  expect(0, "pusher", "Create", nullptr, {{"extraConfig", "extra"}}, pointerJson(pusher));
  expect(1, "pusher", "startPush", pusher, {{"url", "rtmp://host/app"}}, 0);
  expect(2, "player", "Create", nullptr, {{"extraConfig", nullptr}}, pointerJson(player));
  expect(3, "player", "startPlay", player, {{"url", ""}}, 0);
  expect(4, "base", "GetSDKVersion", nullptr, Json::object(), "");
  EXPECT_LT(calls[0]["seq"], calls[1]["seq"]);
  player->destroy();
}

TEST_F(Calls, KeepEveryFieldOfThePushConfiguration) {
  LumoLivePusher* const pusher = LumoLivePusher::Create("");
  LumoRtc::LumoLivePushConfig config;
  config.frameRate = 4294967295U;
  config.audioBitRate = -1;
  config.mAudioOnly = true;
  config.mPausePushImagePath = LumoRtc::String("");
  const Json args = argsOf([&] { pusher->init(config); });
  const Json expected = {{"mLivePushMode", 0},
                         {"externMainStream", false},
                         {"mVideoEncodeMode", 1},
                         {"mAudioEncodeMode", 1},
                         {"mAudioOnly", true},
                         {"mPushMirror", false},
                         {"mAudioSampleRate", 48000},
                         {"audioBitRate", -1},
                         {"mAudioChannels", 2},
                         {"mResolution", 3},
                         {"mTargetVideoBitrate", -1},
                         {"mMinVideoBitrate", -1},
                         {"mInitialVideoBitrate", -1},
                         {"width", 0},
                         {"height", 0},
                         {"frameRate", 4294967295U},
                         {"mVideoEncodeGop", 2},
                         {"mPreviewOrientation", 0},
                         {"audioSceneMode", 0},
                         {"enableBitrateControl", true},
                         {"enableAutoResolution", false},
                         {"mPausePushImagePath", ""},
                         {"mNetworkPoorPushImagePath", nullptr}};
  EXPECT_EQ(args["config"], expected);
}

TEST_F(Calls, KeepTheArgumentsOfEveryPusherOperation) {
  LumoLivePusher& pusher = *LumoLivePusher::Create("");
  char view = 0;
  const Json preview = {{"view", pointerJson(&view)}, {"width", 1}, {"height", 4294967295U}};
  EXPECT_EQ(argsOf([&] { pusher.startPreview(&view, 1, 4294967295U); }), preview);
  EXPECT_EQ(argsOf([&] { pusher.startPreviewAsync(&view, 1, 4294967295U); }), preview);
  EXPECT_EQ(argsOf([&] { pusher.startPreview(nullptr, 0, 0); })["view"], nullptr);
  EXPECT_EQ(argsOf([&] { pusher.startPushAsync("u"); }), (Json{{"url", "u"}}));
  EXPECT_EQ(argsOf([&] { pusher.setMute(true, 7); }), (Json{{"mute", true}, {"mode", 7}}));
  EXPECT_EQ(argsOf([&] { pusher.muteLocalCamera(false); }), (Json{{"mute", false}}));
  EXPECT_EQ(argsOf([&] { pusher.setCurrentAudioCaptureName("n"); }), (Json{{"name", "n"}}));
  EXPECT_EQ(argsOf([&] { pusher.setCurrentAudioCaptureID("i"); }), (Json{{"id", "i"}}));
  EXPECT_EQ(argsOf([&] { pusher.setCurrentCameraName("n"); }), (Json{{"name", "n"}}));
  EXPECT_EQ(argsOf([&] { pusher.setCurrentCameraID(nullptr); }), (Json{{"id", nullptr}}));
  EXPECT_EQ(argsOf([&] { pusher.enableAudioVolumeIndication(1, -2, 3); }),
            (Json{{"interval", 1}, {"smooth", -2}, {"reportVad", 3}}));
  EXPECT_EQ(argsOf([&] { pusher.setTargetVideoBitrate(-1); }), (Json{{"kbps", -1}}));
  EXPECT_EQ(argsOf([&] { pusher.setMinVideoBitrate(5); }), (Json{{"kbps", 5}}));
  EXPECT_EQ(argsOf([&] { pusher.setResolution(2, -1, 3); }),
            (Json{{"resolution", 2}, {"width", -1}, {"height", 3}}));
  EXPECT_EQ(argsOf([&] { pusher.setFps(4294967291U); }), (Json{{"fps", 4294967291U}}));
  EXPECT_EQ(argsOf([&] { pusher.startScreenShareByDesktopId(9); }), (Json{{"sourceId", 9}}));
  const LumoRtc::LumoLiveScreenShareEncoderConfig encoder = {3, -1, 2, 30, 512, 4};
  EXPECT_EQ(argsOf([&] { pusher.setScreenShareEncoderConfiguration(&encoder); })["config"],
            (Json{{"mResolution", 3},
                  {"width", -1},
                  {"height", 2},
                  {"frameRate", 30},
                  {"bitrate", 512},
                  {"mVideoEncodeGop", 4}}));
}

TEST_F(Calls, KeepTheLayoutOfAMix) {
  LumoLivePusher& pusher = *LumoLivePusher::Create("");
  LumoRtc::LumoLiveTranscodingConfig layout;
  layout.backgroundColor = -1;
  layout.mixStreams.Add({LumoRtc::String("a"), 1, 2, 3, 4, 5});
  layout.mixStreams.Add({LumoRtc::String(), -1, 0, 0, 0, 0});
  const Json config = argsOf([&] { pusher.setLiveMixTranscodingConfig(&layout); })["config"];
  EXPECT_EQ(config["backgroundColor"], -1);
  EXPECT_EQ(config["cropMode"], 1);
  EXPECT_EQ(
      config["mixStreams"][0],
      (Json{{"userId", "a"}, {"x", 1}, {"y", 2}, {"width", 3}, {"height", 4}, {"zOrder", 5}}));
  EXPECT_EQ(config["mixStreams"][1]["userId"], nullptr);
  EXPECT_EQ(argsOf([&] { pusher.setLiveMixTranscodingConfig(nullptr); }),
            (Json{{"config", nullptr}}));
}

TEST_F(Calls, KeepTheArgumentsOfEveryPlayerOperation) {
  LumoLivePlayer& player = *LumoLivePlayer::Create("");
  char view = 0;
  LumoRtc::LumoLivePlayerConfig config;
  config.isMirror = true;
  config.renderMode = static_cast<LumoRtc::LumoLiveRenderMode>(4294967295U);
  EXPECT_EQ(argsOf([&] { player.initPlayer(config); })["config"], (Json{{"isMirror", true},
                                                                        {"isFullScreen", false},
                                                                        {"renderMode", 4294967295U},
                                                                        {"rotation", 0}}));
  EXPECT_EQ(argsOf([&] { player.setPlayView(&view, 2, 3); }),
            (Json{{"view", pointerJson(&view)}, {"width", 2}, {"height", 3}}));
  EXPECT_EQ(argsOf([&] { player.setRemoteAudioVolume(4294967295U); }),
            (Json{{"volume", 4294967295U}}));
  player.destroy();
}

TEST_F(Calls, KeepTheArgumentsOfEveryUtility) {
  EXPECT_EQ(argsOf([] {
              LumoLiveBase::isSupportLiveMode(static_cast<LumoRtc::LumoLiveMode>(4294967295U));
            }),
            (Json{{"mode", 4294967295U}}));
  EXPECT_EQ(argsOf([] { LumoLiveBase::SetLogDirPath("/tmp", 512); }),
            (Json{{"path", "/tmp"}, {"maxSizeMiB", 512}}));
  EXPECT_EQ(
      argsOf([] { LumoLiveBase::SetLogLevel(static_cast<LumoRtc::LumoLivePushLogLevel>(-3)); }),
      (Json{{"level", -3}}));
  EXPECT_EQ(argsOf([] { LumoLiveBase::setConsoleEnabled(true); }), (Json{{"enabled", true}}));
}

TEST_F(Calls, ShowEachListenerAsItsInterfacesPointer) {
  RecordingListener listener;
  LumoLivePusher& pusher = *LumoLivePusher::Create("");
  const auto expect = [](const void* pointer) {
    EXPECT_EQ(lastCall()["args"], (Json{{"listener", pointerJson(pointer)}}));
  };
  pusher.setPushErrorListener(&listener);
  expect(static_cast<LumoRtc::LumoLivePushErrorListener*>(&listener));
  pusher.setPushInfoListener(&listener);
  expect(static_cast<LumoRtc::LumoLivePushInfoListener*>(&listener));
  pusher.setVideoFrameListener(&listener);
  expect(static_cast<LumoRtc::LumoLiveVideoFrameListener*>(&listener));
  pusher.setPushNetworkListener(&listener);
  expect(static_cast<LumoRtc::LumoLivePushNetworkListener*>(&listener));
  pusher.setPushNetworkListener(nullptr);
  expect(nullptr);
}

TEST_F(Calls, KeepTextThatIsNotUtf8) {
  LumoLivePusher::Create("")->startPush("\xff\x41");
  EXPECT_EQ(lastCall()["args"], (Json{{"url", {{"hex", "ff41"}}}}));
}

TEST_F(Calls, NameTheThreadThatMadeThem) {
  LumoLivePusher& pusher = *LumoLivePusher::Create("");
  pusher.stopPush();
  EXPECT_EQ(lastCall()["thread"]["js"], true);
  const Json index = lastCall()["thread"]["index"];
  std::thread([&] { pusher.stopPush(); }).join();
  EXPECT_EQ(lastCall()["thread"]["js"], false);
  EXPECT_NE(lastCall()["thread"]["index"], index);
}

TEST_F(Calls, OfSeveralThreadsAreAllKept) {
  LumoLivePusher& pusher = *LumoLivePusher::Create("");
  ask("forget");
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < 250; ++j) pusher.stopPush();
    });
  }
  for (auto& thread : threads) thread.join();
  const Json calls = recordsOf("call");
  ASSERT_EQ(calls.size(), 1000U);
  const uint64_t first = calls[0]["seq"];
  for (size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(calls[i]["seq"], first + i);
}

}  // namespace
