#include "scripted_sdk_test.h"

using LumoRtc::LumoLiveMixStreamArray;
using LumoRtc::LumoLivePlayer;
using LumoRtc::LumoLivePusher;
using LumoRtc::String;

namespace {

using Lifetimes = ScriptedSdkTest;

TEST_F(Lifetimes, OfStringsAreRecordedOnDemand) {
  { const String unrecorded("x"); }
  EXPECT_TRUE(recordsOf("string").empty());

  ask("recordStrings");
  Json address;
  {
    String text(nullptr);
    address = pointerJson(&text);
    const String empty("");
    text = empty;
    const String copy(text);
    EXPECT_STREQ(copy.c_str(), "");
  }
  const Json records = recordsOf("string");
  EXPECT_EQ(names(records), (std::vector<std::string>{"construct", "construct", "assign", "copy",
                                                      "destroy", "destroy", "destroy"}));
  EXPECT_EQ(records[0]["text"], nullptr);
  EXPECT_EQ(records[1]["text"], "");
  EXPECT_EQ(records[2]["self"], address);
  EXPECT_EQ(records[2]["from"], records[1]["self"]);
  EXPECT_EQ(records[2]["text"], "");
  EXPECT_EQ(records[3]["from"], address);
  EXPECT_FALSE(records[0].contains("bySdk"));
}

TEST_F(Lifetimes, OfStringsThatTheSdkMakesAreMarked) {
  LumoLivePusher* const pusher = LumoLivePusher::Create("");
  ask("recordStrings");
  { const String name = pusher->getCurrentCameraName(); }
  const Json records = recordsOf("string");
  EXPECT_EQ(names(records), (std::vector<std::string>{"construct", "destroy"}));
  EXPECT_EQ(records[0]["bySdk"], true);
  EXPECT_FALSE(records[1].contains("bySdk"));
}

TEST_F(Lifetimes, OfStringsSurviveSelfAssignment) {
  String text("kept");
  const String& same = text;
  text = same;
  EXPECT_STREQ(text.c_str(), "kept");
  EXPECT_STREQ(String().c_str(), "");
}

TEST_F(Lifetimes, OfStringsAndArraysAreCounted) {
  const Json before = ask("alive");
  {
    LumoLiveMixStreamArray streams;
    streams.Add({String("a"), 0, 0, 0, 0, 0});
    const LumoLiveMixStreamArray copy(streams);
    const Json during = ask("alive");
    EXPECT_EQ(during["arrays"], before["arrays"].get<int>() + 2);
    EXPECT_EQ(during["strings"], before["strings"].get<int>() + 2);
    streams.Clear();
    EXPECT_EQ(ask("alive")["strings"], before["strings"].get<int>() + 1);
  }
  EXPECT_EQ(ask("alive"), before);
}

TEST_F(Lifetimes, OfArraysAreRecorded) {
  {
    LumoLiveMixStreamArray streams;
    streams.Add({String("a"), 1, 2, 3, 4, 5});
    LumoLiveMixStreamArray other;
    other = streams;
    streams.Clear();
  }
  const Json records = recordsOf("array");
  EXPECT_EQ(names(records), (std::vector<std::string>{"construct", "Add", "construct", "assign",
                                                      "Clear", "destroy", "destroy"}));
  EXPECT_EQ(records[1]["stream"]["userId"], "a");
  EXPECT_EQ(records[1]["stream"]["zOrder"], 5);
  EXPECT_EQ(records[3]["from"], records[0]["self"]);
  EXPECT_EQ(records[3]["count"], 1);
  EXPECT_EQ(records[4]["count"], 0);
}

TEST_F(Lifetimes, OfDestroyedObjectsLeaveATraceInTheirCalls) {
  LumoLivePlayer* const player = LumoLivePlayer::Create("");
  player->stopPlay();
  EXPECT_FALSE(lastCall().contains("destroyed"));
  player->destroy();
  EXPECT_FALSE(lastCall().contains("destroyed"));
  const int before = ask("lateCalls").get<int>();
  player->stopPlay();
  EXPECT_EQ(lastCall()["destroyed"], true);
  EXPECT_EQ(ask("lateCalls"), before + 1);
  LumoLivePusher* const pusher = LumoLivePusher::Create("");
  LumoLivePusher::destroy();
  pusher->stopPush();
  EXPECT_EQ(lastCall()["destroyed"], true);
  EXPECT_EQ(ask("lateCalls"), before + 2);
}

TEST_F(Lifetimes, OfObjectsOutlastAReset) {
  LumoLivePusher* const pusher = LumoLivePusher::Create("");
  LumoLivePlayer* const player = LumoLivePlayer::Create("");
  ask("reset");
  EXPECT_EQ(ask("alive")["pushers"], Json::array({pointerJson(pusher)}));
  EXPECT_EQ(ask("alive")["players"], Json::array({pointerJson(player)}));
  player->destroy();
  LumoLivePusher::destroy();
  EXPECT_EQ(lastCall()["self"], pointerJson(pusher));
  EXPECT_EQ(ask("alive")["pushers"], Json::array());
}

TEST_F(Lifetimes, OfThePusherUsedLastEndsFirst) {
  LumoLivePusher* const older = LumoLivePusher::Create("");
  LumoLivePusher* const newer = LumoLivePusher::Create("");
  ASSERT_NE(older, newer);
  older->setPushInfoListener(nullptr);
  LumoLivePusher::destroy();
  EXPECT_EQ(lastCall()["self"], pointerJson(older));
  LumoLivePusher::destroy();
  EXPECT_EQ(lastCall()["self"], pointerJson(newer));
  LumoLivePusher::destroy();
  EXPECT_EQ(lastCall()["self"], nullptr);
}

TEST_F(Lifetimes, OfPushersEndFromTheNewestWhenNoneWasUsed) {
  LumoLivePusher* const older = LumoLivePusher::Create("");
  LumoLivePusher::Create("");
  LumoLivePusher::destroy();
  EXPECT_EQ(ask("alive")["pushers"], Json::array({pointerJson(older)}));
}

}  // namespace
