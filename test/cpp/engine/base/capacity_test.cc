#include "base/capacity.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <optional>
#include <semaphore>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "NimboSdk/LumoLivePusher.h"
#include "NimboSdk/LumoLiveResult.h"
#include "base/detachable_thread.h"
#include "base/engine_thread.h"
#include "gst/pipeline.h"
#include "rtmp/rtmp_client.h"
#include "support/process_usage.h"
#include "support/recording_player_listener.h"

namespace NimboEngine {
namespace {

using namespace LumoRtc;

// Lowers a limit of this process during its lifetime.
class Limit {
 public:
  Limit(__rlimit_resource resource, rlim_t soft) : resource_(resource) {
    getrlimit(resource, &before_);
    const rlimit lowered{soft, before_.rlim_max};
    EXPECT_EQ(setrlimit(resource, &lowered), 0);
  }
  ~Limit() { setrlimit(resource_, &before_); }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;

 private:
  const __rlimit_resource resource_;
  rlimit before_{};
};

Limit fewDescriptors() {
  return {RLIMIT_NOFILE, static_cast<rlim_t>(test::processUsage().descriptors) + 20};
}

// Leaves room for small allocations, but not for the stack of another thread: the stacks of earlier
// threads, which the C library keeps, are in use.
class NoThreads {
 public:
  NoThreads() : limit_(RLIMIT_AS, test::addressSpaceBytes() + rlim_t{4} * 1024 * 1024) {
    try {
      for (;;) idle_.emplace_back([this] { end_.acquire(); });
    } catch (const std::system_error&) {
      // As expected.
    }
  }
  ~NoThreads() {
    end_.release(static_cast<std::ptrdiff_t>(idle_.size()));
    for (std::thread& thread : idle_) thread.join();
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;

 private:
  const Limit limit_;
  std::counting_semaphore<> end_{0};
  std::vector<std::thread> idle_;
};

TEST(Capacity, IsThereWithoutLimits) {
  const auto before = test::processUsage();
  EXPECT_TRUE(checkCapacity());
  EXPECT_EQ(test::processUsage().descriptors, before.descriptors);
}

TEST(Capacity, MissingDescriptorsAreCounted) {
  const Limit limit = fewDescriptors();
  const auto checked = checkCapacity();
  ASSERT_FALSE(checked);
  EXPECT_EQ(checked.error().code, LumoRtc::kLumoLiveErrorNoCapacity);
  const std::string& missing = checked.error().text;
  EXPECT_TRUE(missing.starts_with("only ") &&
              missing.ends_with("more descriptors can be opened; 96 are needed"))
      << missing;
}

TEST(Capacity, NoPipelineIsBuiltWithoutDescriptors) {
  const Limit limit{RLIMIT_NOFILE, static_cast<rlim_t>(test::processUsage().descriptors) + 10};
  EXPECT_TRUE(areDescriptorsLeft(5));
  EXPECT_FALSE(areDescriptorsLeft(30));
  EXPECT_FALSE(Pipeline::parse("none", "fakesrc ! fakesink", [](const PipelineMessage&) {}));
}

TEST(Capacity, MissingThreadsAreCounted) {
  const NoThreads limit;
  const auto checked = checkCapacity();
  ASSERT_FALSE(checked);
  EXPECT_EQ(checked.error().text, "only 0 more threads can be started; 16 are needed");
}

TEST(Capacity, WithoutAThreadNothingAborts) {
  const NoThreads limit;
  EXPECT_THROW(EngineThread("none"), std::system_error);
  {
    const DetachableThread thread("none", [] { FAIL() << "it runs"; });
  }
  RtmpUrl url;
  url.host = "127.0.0.1";
  std::optional<ConnectionFailure> failure;
  RtmpClient::Events events;
  events.onEnded = [&failure](const ConnectionFailure& ended) { failure = ended; };
  const RtmpClient client(RtmpRole::kPlay, url, events, std::chrono::seconds(1));
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->text, "no thread can be started");
}

TEST(Capacity, NothingIsCreatedWithoutIt) {
  const Limit limit = fewDescriptors();
  EXPECT_EQ(LumoLivePusher::Create(""), nullptr);
  EXPECT_EQ(LumoLivePlayer::Create(""), nullptr);
}

TEST(Capacity, APlayerReportsThatItIsMissing) {
  test::RecordingPlayerListener listener;
  LumoLivePlayer* const player = LumoLivePlayer::Create("");
  ASSERT_NE(player, nullptr);
  player->setPlayInfoListener(&listener);
  {
    const Limit limit = fewDescriptors();
    EXPECT_EQ(player->startPlay("/dev/null"), kLumoLiveOk);
    EXPECT_TRUE(listener.events.waitFor("error -3107"));
  }
  EXPECT_EQ(player->startPlay("/dev/null"), kLumoLiveOk) << "it may try again";
  player->destroy();
}

}  // namespace
}  // namespace NimboEngine
