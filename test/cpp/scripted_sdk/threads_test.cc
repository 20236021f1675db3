#include <atomic>
#include <chrono>
#include <future>
#include <set>
#include <thread>

#include "scripted_sdk_test.h"

using LumoRtc::LumoLivePusher;

namespace {

class Threads : public ScriptedSdkTest {
 protected:
  void SetUp() override {
    ScriptedSdkTest::SetUp();
    pusher = LumoLivePusher::Create("");
    listener.attachTo(*pusher);
  }

  // Lets the listener make a recorded call, so that the record shows the callback's thread.
  void recordCallbackThread() {
    listener.onCallback = [] { LumoRtc::LumoLiveBase::setConsoleEnabled(true); };
  }

  static Json burst(int threads, int times) {
    Json lanes = Json::array();
    for (int i = 0; i < threads; ++i) {
      Json fires = Json::array();
      for (int j = 0; j < times; ++j) {
        fires.push_back({{"callback", "onSDKError"}, {"code", i * 1000 + j}, {"msg", "text"}});
      }
      lanes.push_back({{"thread", "burst-" + std::to_string(i)}, {"fires", fires}});
    }
    return {{"lanes", lanes}};
  }

  RecordingListener listener;
  LumoLivePusher* pusher = nullptr;
};

TEST_F(Threads, FireFromTheThreadThatIsNamed) {
  recordCallbackThread();
  fire({{"callback", "onPushStarted"}, {"thread", "net-1"}});
  const Json first = lastCall()["thread"];
  EXPECT_EQ(first["name"], "net-1");
  EXPECT_EQ(first["js"], false);
  fire({{"callback", "onPushStarted"}, {"thread", "a-name-longer-than-systems-take"}});
  EXPECT_EQ(lastCall()["thread"]["name"], "a-name-longer-than-systems-take");
  EXPECT_NE(lastCall()["thread"]["index"], first["index"]);
  fire({{"callback", "onPushStarted"}, {"thread", "net-1"}});
  EXPECT_EQ(lastCall()["thread"], first);
  fire({{"callback", "onPushStarted"}});
  EXPECT_EQ(lastCall()["thread"]["name"], "sdk");
  fire({{"callback", "onPushStarted"}, {"thread", nullptr}});
  EXPECT_EQ(lastCall()["thread"]["js"], true);
}

TEST_F(Threads, FireInsideACallBeforeItReturns) {
  recordCallbackThread();
  ask("onCall", {{"operation", "startPush"},
                 {"fires",
                  {{{"callback", "onPushStarted"}, {"thread", nullptr}},
                   {{"callback", "onSendMessage"}, {"thread", "net-1"}}}}});
  ask("forget");
  pusher->startPush("url");
  pusher->startPush("again");
  const Json calls = recordsOf("call");
  EXPECT_EQ(names(calls), (std::vector<std::string>{"startPush", "setConsoleEnabled",
                                                    "setConsoleEnabled", "startPush"}));
  EXPECT_EQ(calls[1]["thread"]["js"], true);
  EXPECT_EQ(calls[2]["thread"]["name"], "net-1");
  EXPECT_EQ(calls[0]["fired"], (Json{{{"delivered", true}}, {{"delivered", true}}}));
  EXPECT_FALSE(calls[3].contains("fired"));
}

TEST_F(Threads, FireInsideACallAsOftenAsAsked) {
  ask("onCall",
      {{"operation", "stopPush"}, {"fires", {{{"callback", "onPushStopped"}}}}, {"times", 2}});
  for (int i = 0; i < 3; ++i) pusher->stopPush();
  EXPECT_EQ(listener.notes().size(), 2U);
}

TEST_F(Threads, FireInsideDestroyWhileListenersAreStillSet) {
  ask("onCall", {{"operation", "pusher.destroy"}, {"fires", {{{"callback", "onPushStopped"}}}}});
  LumoLivePusher::destroy();
  EXPECT_EQ(lastCall()["fired"][0]["delivered"], true);
  EXPECT_EQ(listener.notes().size(), 1U);
}

TEST_F(Threads, FireTogetherAndLoseNothing) {
  const Json ticket = ask("start", burst(8, 50));
  const Json results = ask("collect", {{"ticket", ticket}});
  ASSERT_EQ(results.size(), 8U);
  for (const Json& lane : results) {
    ASSERT_EQ(lane.size(), 50U);
    for (const Json& result : lane) EXPECT_EQ(result["delivered"], true);
  }
  // Each exactly once, and those of one thread in their order.
  std::set<int> codes;
  std::vector<int> last(8, -1);
  for (const Json& note : listener.notes()) {
    const int code = note["args"][0];
    codes.insert(code);
    int& before = last[static_cast<std::size_t>(code) / 1000];
    EXPECT_LT(before, code % 1000);
    before = code % 1000;
  }
  EXPECT_EQ(codes.size(), 400U);
  EXPECT_EQ(listener.notes().size(), 400U);
}

// The lanes can only all meet inside the callback if they run side by side.
TEST_F(Threads, FireTogetherAtOnce) {
  std::atomic<int> inside{0};
  listener.onCallback = [&] {
    ++inside;
    while (inside < 3) std::this_thread::yield();
  };
  ask("collect", {{"ticket", ask("start", burst(3, 1))}});
  EXPECT_EQ(inside, 3);
}

TEST_F(Threads, FireTogetherOnlyWhenAllAreReady) {
  std::promise<void> release;
  const auto released = release.get_future().share();
  std::atomic<bool> first{true};
  std::atomic<int> early{0};
  listener.onCallback = [&] {
    if (first.exchange(false)) {
      released.wait();
    } else if (released.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
      ++early;
    }
  };
  const Json busy = ask("start", burst(1, 1));
  while (first) std::this_thread::yield();
  const Json ticket = ask("start", burst(2, 1));
  // Time for the second lane to show itself, if it does not wait for the first.
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  release.set_value();
  ask("collect", {{"ticket", busy}});
  ask("collect", {{"ticket", ticket}});
  EXPECT_EQ(early, 0);
  EXPECT_EQ(listener.notes().size(), 3U);
}

TEST_F(Threads, TicketsAreGoodForOnce) {
  const Json ticket = ask("start", burst(1, 1));
  ask("collect", {{"ticket", ticket}});
  EXPECT_TRUE(answerTo("collect", {{"ticket", ticket}}).contains("error"));
}

TEST_F(Threads, LanesWithMistakesAreRefused) {
  const Json lane = {{"thread", "a"}, {"fires", Json::array()}};
  EXPECT_TRUE(answerTo("start", {{"lanes", {lane, lane}}}).contains("error"));
  const Json fireElsewhere = {{"callback", "onPushStarted"}, {"thread", "b"}};
  EXPECT_TRUE(answerTo("start", {{"lanes", {{{"thread", "a"}, {"fires", {fireElsewhere}}}}}})
                  .contains("error"));
}

// A callback that is under way when its listener is detached, by `detach` on another thread.
class Detaching : public Threads {
 protected:
  // Whether the callback had ended when `detach` returned.
  bool callbackEndedFirst(const std::function<void()>& detach) {
    std::promise<void> entered;
    std::promise<void> detaching;
    std::atomic<bool> ended{false};
    listener.onCallback = [&] {
      entered.set_value();
      detaching.get_future().wait();
      // Time for a detaching that does not wait to show itself.
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      ended = true;
    };
    const Json ticket = ask("start", burst(1, 1));
    entered.get_future().wait();
    detaching.set_value();
    detach();
    const bool result = ended;
    ask("collect", {{"ticket", ticket}});
    return result;
  }
};

TEST_F(Detaching, WaitsForTheRunningCallback) {
  EXPECT_TRUE(callbackEndedFirst([this] { pusher->setPushErrorListener(nullptr); }));
  EXPECT_EQ(fire({{"callback", "onSDKError"}})["delivered"], false);
}

TEST_F(Detaching, ByAnotherListenerWaitsToo) {
  RecordingListener other;
  EXPECT_TRUE(callbackEndedFirst([&] { pusher->setPushErrorListener(&other); }));
  pusher->setPushErrorListener(nullptr);
}

TEST_F(Detaching, ByDestroyingWaitsToo) {
  EXPECT_TRUE(callbackEndedFirst([] { LumoLivePusher::destroy(); }));
}

TEST_F(Detaching, FromInsideTheCallbackDoesNotWaitForItself) {
  listener.onCallback = [this] { pusher->setPushErrorListener(nullptr); };
  EXPECT_EQ(fire({{"callback", "onSDKError"}})["delivered"], true);
  EXPECT_EQ(fire({{"callback", "onSDKError"}})["delivered"], false);
}

TEST_F(Detaching, OneListenerDoesNotWaitForAnothers) {
  listener.onCallback = [this] {
    std::thread([this] { pusher->setPushInfoListener(nullptr); }).join();
  };
  EXPECT_EQ(fire({{"callback", "onSDKError"}})["delivered"], true);
}

TEST_F(Detaching, UnderFireLeavesNoCallbackRunning) {
  std::atomic<int> running{0};
  listener.onCallback = [&] {
    ++running;
    std::this_thread::yield();
    --running;
  };
  const Json ticket = ask("start", burst(4, 500));
  for (int i = 0; i < 200; ++i) {
    pusher->setPushErrorListener(&listener);
    std::this_thread::yield();
    pusher->setPushErrorListener(nullptr);
    EXPECT_EQ(running, 0);
  }
  ask("collect", {{"ticket", ticket}});
}

}  // namespace
