#include "scripted_sdk_test.h"

using LumoRtc::LumoLiveBase;
using LumoRtc::LumoLivePlayer;
using LumoRtc::LumoLivePusher;

namespace {

class Answers : public ScriptedSdkTest {
 protected:
  void SetUp() override {
    ScriptedSdkTest::SetUp();
    pusher = LumoLivePusher::Create("");
  }

  static void answer(const char* operation, const Json& value) {
    ask("answer", {{"operation", operation}, {"answers", Json::array({value})}});
  }
  static void answerOnce(const char* operation, const Json& values) {
    ask("answer", {{"operation", operation}, {"answers", values}, {"once", true}});
  }
  static std::string refusal(const char* operation, const Json& value) {
    return answerTo("answer", {{"operation", operation}, {"answers", Json::array({value})}})
        .value("error", "");
  }

  LumoLivePusher* pusher = nullptr;
};

TEST_F(Answers, AreZeroEmptyOrNothingByDefault) {
  EXPECT_EQ(pusher->startPush(""), 0);
  EXPECT_EQ(pusher->getCurrentScreenShareSourceId(), 0U);
  EXPECT_STREQ(pusher->getCurrentCameraName().c_str(), "");
  EXPECT_EQ(pusher->getCameraList()->getCount(), 0U);
  EXPECT_EQ(pusher->getScreenShareEncoderConfiguration().bitrate, 0);
  EXPECT_STREQ(LumoLiveBase::GetSDKVersion(), "");
  EXPECT_FALSE(LumoLiveBase::isSupportLiveMode(LumoRtc::kLumoLiveModeBasic));
}

TEST_F(Answers, StandUntilReset) {
  answer("startPush", -7);
  EXPECT_EQ(pusher->startPush(""), -7);
  EXPECT_EQ(pusher->startPush(""), -7);
  EXPECT_EQ(lastCall()["result"], -7);
  ask("reset");
  EXPECT_EQ(pusher->startPush(""), 0);
}

TEST_F(Answers, QueueBeforeTheStandingOne) {
  answer("player.getPlayMode", 3);
  answerOnce("getPlayMode", {1, 2});
  LumoLivePlayer* const player = LumoLivePlayer::Create("");
  EXPECT_EQ(player->getPlayMode(), 1);
  EXPECT_EQ(player->getPlayMode(), 2);
  EXPECT_EQ(player->getPlayMode(), 3);
  player->destroy();
}

TEST_F(Answers, ComeInEveryKind) {
  answer("getCurrentScreenShareSourceId", 4294967295U);
  answer("isSupportLiveMode", true);
  answer("getCurrentCameraID", {{"hex", "ff"}});
  answer("getScreenShareEncoderConfiguration", {{"frameRate", 4294967295U}, {"width", -2}});
  EXPECT_EQ(pusher->getCurrentScreenShareSourceId(), 4294967295U);
  EXPECT_TRUE(LumoLiveBase::isSupportLiveMode(LumoRtc::kLumoLiveModeBasic));
  EXPECT_STREQ(pusher->getCurrentCameraID().c_str(), "\xff");
  EXPECT_EQ(pusher->getScreenShareEncoderConfiguration().frameRate, 4294967295U);
  EXPECT_EQ(pusher->getScreenShareEncoderConfiguration().width, -2);
}

TEST_F(Answers, OfTheVersionMayBeNull) {
  answerOnce("GetSDKVersion", {nullptr, "1.2"});
  EXPECT_EQ(LumoLiveBase::GetSDKVersion(), nullptr);
  EXPECT_STREQ(LumoLiveBase::GetSDKVersion(), "1.2");
}

TEST_F(Answers, OfACreationMayBeNull) {
  answerOnce("pusher.Create", {nullptr});
  answerOnce("player.Create", {nullptr});
  EXPECT_EQ(LumoLivePusher::Create(""), nullptr);
  EXPECT_EQ(lastCall()["result"], nullptr);
  EXPECT_EQ(LumoLivePlayer::Create(""), nullptr);
  LumoLivePlayer* const player = LumoLivePlayer::Create("");
  ASSERT_NE(player, nullptr);
  player->destroy();
}

TEST_F(Answers, OfDeviceListsKeepNamesAndTypes) {
  answer("getCameraList", {{{"deviceName", {{"hex", "ff00"}}}, {"transportType", -1}},
                           {{"deviceName", "Cam"}, {"deviceId", "id"}}});
  auto* const list = pusher->getCameraList();
  EXPECT_EQ(lastCall()["result"], pointerJson(list));
  ASSERT_EQ(list->getCount(), 2U);
  EXPECT_STREQ(list->getDevice(0).deviceName.c_str(), "\xff");
  EXPECT_EQ(list->getDevice(0).transportType, -1);
  EXPECT_STREQ(list->getDevice(1).deviceId.c_str(), "id");
  const Json asks = recordsOf("list");
  EXPECT_EQ(names(asks),
            (std::vector<std::string>{"getCount", "getDevice", "getDevice", "getDevice"}));
  EXPECT_EQ(asks[0]["self"], pointerJson(list));
  EXPECT_EQ(asks[0]["result"], 2);
  EXPECT_EQ(asks[3]["index"], 1);
}

TEST_F(Answers, OfTheMicrophoneListMayBeNullButNotOfTheCameras) {
  answer("getAudioCaptureList", nullptr);
  EXPECT_EQ(pusher->getAudioCaptureList(), nullptr);
  EXPECT_NE(refusal("getCameraList", nullptr), "");
}

TEST_F(Answers, OfCountsMayChangeBetweenAsks) {
  answer("getCameraList", {{"entries", {{{"deviceId", "a"}}}}, {"counts", {3, 1}}});
  auto* const list = pusher->getCameraList();
  EXPECT_EQ(list->getCount(), 3U);
  EXPECT_EQ(list->getCount(), 1U);
  EXPECT_EQ(list->getCount(), 1U);
  EXPECT_STREQ(list->getDevice(2).deviceId.c_str(), "");
  EXPECT_EQ(recordsOf("list").back()["outOfRange"], true);
}

TEST_F(Answers, OfScreenSourcesAreReleasedByTheCaller) {
  answer("getScreenShareSourceInfo", {{{"sourceId", 4294967301}, {"sourceName", "s"}}});
  auto* const list = pusher->getScreenShareSourceInfo();
  EXPECT_EQ(list->getSource(0).sourceId, 4294967301);
  EXPECT_EQ(ask("alive")["screenLists"], 1);
  list->release();
  EXPECT_EQ(ask("alive")["screenLists"], 0);
  EXPECT_FALSE(recordsOf("list").back().contains("released"));
  const int before = ask("lateCalls").get<int>();
  list->release();
  EXPECT_EQ(recordsOf("list").back()["released"], true);
  EXPECT_EQ(ask("lateCalls"), before + 1);
}

TEST_F(Answers, ThatAnOperationCannotGiveAreRefused) {
  for (const auto& [operation, value] : std::initializer_list<std::pair<const char*, Json>>{
           {"startPush", "text"},
           {"startPush", 2147483648U},
           {"startPush", 1.5},
           {"startPush", nullptr},
           {"getCurrentScreenShareSourceId", -1},
           {"isSupportLiveMode", 1},
           {"getCurrentCameraName", 5},
           {"getCurrentCameraName", {{"hex", "f"}}},
           {"getCurrentCameraName", {{"hex", "zz"}}},
           {"pusher.Create", 0},
           {"getCameraList", {{{"deviceNmae", "x"}}}},
           {"getCameraList", {{"entries", Json::array()}, {"counts", {-1}}}},
           {"getScreenShareSourceInfo", 3},
           {"getScreenShareEncoderConfiguration", {{"fps", 1}}},
           {"SetLogLevel", 0},
       }) {
    EXPECT_NE(refusal(operation, value), "") << operation << " " << value.dump();
  }
}

TEST_F(Answers, ToUnknownAndUnclearOperationsAreRefused) {
  EXPECT_EQ(refusal("startPusch", 0), "no operation 'startPusch'");
  EXPECT_EQ(refusal("destroy", 0), "'destroy' may be pusher.destroy or player.destroy");
}

TEST_F(Answers, ToRequestsWithMistakesAreErrors) {
  EXPECT_TRUE(Json::parse(ScriptedSdk::control("{")).contains("error"));
  EXPECT_TRUE(Json::parse(ScriptedSdk::control("[]")).contains("error"));
  EXPECT_TRUE(answerTo("nonsense").contains("error"));
  EXPECT_TRUE(answerTo("alive", {{"extra", 1}}).contains("error"));
  EXPECT_TRUE(answerTo("answer", {{"operation", "startPush"}}).contains("error"));
}

}  // namespace
