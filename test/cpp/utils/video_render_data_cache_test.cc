#include "utils/video_render_data_cache.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <set>
#include <thread>

#include "utils/i420_reference.h"

namespace LumoLivePushElectronSDK {
namespace {

using namespace std::chrono_literals;
using testing::OwnedFrame;
using testing::Tight;

constexpr auto kPace = 33ms;
constexpr auto kHangGuard = 60s;

struct Notification {
  std::string user;
  pid_t thread;  // the kernel's number: std::thread::id is soon used again
  std::chrono::steady_clock::time_point at;
};

class RecordingObserver final : public VideoRenderDataObserver {
 public:
  void OnVideoRenderDataNeedUpdate(std::string& uid) override {
    if (during_call) during_call();
    const std::lock_guard lock(mutex_);
    calls_.push_back({uid, gettid(), std::chrono::steady_clock::now()});
    changed_.notify_all();
  }

  // The next `count` notifications from now on.
  std::vector<Notification> Next(std::size_t count) {
    std::unique_lock lock(mutex_);
    const auto begin = static_cast<std::ptrdiff_t>(calls_.size());
    const bool came = changed_.wait_for(
        lock, kHangGuard, [&] { return calls_.size() >= static_cast<std::size_t>(begin) + count; });
    EXPECT_TRUE(came) << "the pacing does not go on";
    return {calls_.begin() + begin, calls_.end()};
  }

  std::size_t count() {
    const std::lock_guard lock(mutex_);
    return calls_.size();
  }

  std::function<void()> during_call;

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Notification> calls_;
};

std::set<pid_t> ThreadsOf(const std::vector<Notification>& calls) {
  std::set<pid_t> threads;
  for (const auto& call : calls) threads.insert(call.thread);
  return threads;
}

class VideoRenderDataManagerTest : public ::testing::Test {
 protected:
  void TearDown() override {
    manager_.Stop();
    manager_.ClearObserver(&observer_);
  }

  void Cache(const std::string& user) {
    const OwnedFrame frame(Tight(16, 4));
    ASSERT_EQ(manager_.CacheVideoRenderData(user, LumoRtc::kLumoLiveVideoSourceCamera, &frame.raw(),
                                            &observer_),
              0);
  }

  VideoRenderDataManager& manager_ = *VideoRenderDataManager::GetInstance();
  RecordingObserver observer_;
};

TEST_F(VideoRenderDataManagerTest, OneInstanceForAllThreads) {
  std::vector<VideoRenderDataManager*> seen(8);
  std::vector<std::thread> threads;
  threads.reserve(seen.size());
  for (auto& instance : seen) {
    threads.emplace_back([&instance] { instance = VideoRenderDataManager::GetInstance(); });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(std::set(seen.begin(), seen.end()), std::set{&manager_});
}

TEST_F(VideoRenderDataManagerTest, RefusesFramesWithoutALayout) {
  const OwnedFrame good(Tight(16, 4));
  auto frame = good.raw();
  frame.strideU = 0;
  const auto source = LumoRtc::kLumoLiveVideoSourceCamera;
  EXPECT_EQ(manager_.CacheVideoRenderData("u", source, &frame, &observer_), -1);
  EXPECT_EQ(manager_.CacheVideoRenderData("u", source, nullptr, &observer_), -1);
}

TEST_F(VideoRenderDataManagerTest, NotifiesUnfetchedUsersInKeyOrderAtEveryPass) {
  for (const char* user : {"preview", "b", "a"}) Cache(user);
  ASSERT_TRUE(manager_.Start());
  const auto calls = observer_.Next(9);
  EXPECT_EQ(ThreadsOf(calls).size(), 1U);
  EXPECT_FALSE(ThreadsOf(calls).contains(gettid()));
  const auto first_a = std::find_if(calls.begin(), calls.end(),
                                    [](const Notification& call) { return call.user == "a"; });
  const char* const kOrder[] = {"a", "b", "preview"};
  std::size_t i = 0;
  for (auto call = first_a; call != calls.end(); ++call) EXPECT_EQ(call->user, kOrder[i++ % 3]);
  EXPECT_GE(i, 6U);
}

TEST_F(VideoRenderDataManagerTest, ClearedObserverIsNotCalledAnyMore) {
  Cache("u");
  ASSERT_TRUE(manager_.Start());
  observer_.Next(1);
  manager_.ClearObserver(&observer_);
  const auto before = observer_.count();
  RecordingObserver other;
  const OwnedFrame frame(Tight(16, 4));
  manager_.CacheVideoRenderData("v", LumoRtc::kLumoLiveVideoSourceCamera, &frame.raw(), &other);
  other.Next(3);  // passes go on
  manager_.ClearObserver(&other);
  EXPECT_EQ(observer_.count(), before);
}

// A message never runs before it is due, so the distance of two passes of one chain has a lower
// bound that no load can break. Two concurrent chains would break it.
TEST_F(VideoRenderDataManagerTest, StartAgainDoesNotDoubleTheRate) {
  Cache("u");
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(manager_.Start());
    observer_.Next(1);
  }
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(manager_.Start());
  const auto calls = observer_.Next(8);
  EXPECT_EQ(ThreadsOf(calls).size(), 1U);
  for (std::size_t i = 1; i < calls.size(); ++i) EXPECT_GE(calls[i].at - calls[i - 1].at, kPace);
}

// Raises a flag when the thread that set it has ended completely. It ends slowly, so that code that
// does not wait for it is detected.
struct EndMark {
  std::atomic<bool>* ended = nullptr;
  ~EndMark() {
    if (!ended) return;
    std::this_thread::sleep_for(50ms);
    *ended = true;
  }
};
thread_local EndMark end_mark;

TEST_F(VideoRenderDataManagerTest, StartJoinsThePreviousThread) {
  std::atomic<bool> first_ended = false;
  std::atomic<bool> second_ended = false;
  std::atomic<std::atomic<bool>*> mark = &first_ended;
  observer_.during_call = [&] {
    if (end_mark.ended) return;
    end_mark.ended = mark.exchange(&second_ended);
    // The second thread begins only when the first has ended.
    EXPECT_EQ(first_ended, end_mark.ended == &second_ended);
  };
  Cache("u");
  ASSERT_TRUE(manager_.Start());
  observer_.Next(1);
  EXPECT_FALSE(first_ended);
  ASSERT_TRUE(manager_.Start());
  EXPECT_TRUE(first_ended);
  observer_.Next(1);
  EXPECT_FALSE(second_ended);
  manager_.Stop();  // the mark must not outlive this test's flags
  EXPECT_TRUE(second_ended);
}

TEST_F(VideoRenderDataManagerTest, StopJoinsTheThreadAndStartPacesAgain) {
  std::atomic<bool> ended = false;
  observer_.during_call = [&] { end_mark.ended = &ended; };
  Cache("u");
  ASSERT_TRUE(manager_.Start());
  observer_.Next(1);
  EXPECT_FALSE(ended);
  manager_.Stop();
  EXPECT_TRUE(ended);
  const auto stopped_at = observer_.count();
  manager_.Stop();
  ASSERT_TRUE(manager_.Start());
  observer_.Next(2);
  EXPECT_GT(observer_.count(), stopped_at);
  manager_.Stop();  // `ended` must outlive the thread
}

TEST_F(VideoRenderDataManagerTest, StartOnThePacingThreadItself) {
  bool restarted = false;
  pid_t first_thread = 0;
  observer_.during_call = [&] {
    if (restarted) return;
    restarted = true;
    first_thread = gettid();
    EXPECT_TRUE(manager_.Start());
  };
  Cache("u");
  ASSERT_TRUE(manager_.Start());
  observer_.Next(1);
  const auto calls = observer_.Next(4);
  for (std::size_t i = 1; i < calls.size(); ++i) {
    EXPECT_NE(calls[i].thread, first_thread);
    EXPECT_GE(calls[i].at - calls[i - 1].at, kPace);
  }
}

TEST_F(VideoRenderDataManagerTest, StartsFromSeveralThreadsLeaveOneChain) {
  Cache("u");
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      for (int j = 0; j < 5; ++j) EXPECT_TRUE(manager_.Start());
    });
  }
  for (auto& thread : threads) thread.join();
  const auto calls = observer_.Next(6);
  EXPECT_EQ(ThreadsOf(calls).size(), 1U);
  for (std::size_t i = 1; i < calls.size(); ++i) EXPECT_GE(calls[i].at - calls[i - 1].at, kPace);
}

}  // namespace
}  // namespace LumoLivePushElectronSDK
