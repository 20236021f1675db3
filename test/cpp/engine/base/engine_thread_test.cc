#include "base/engine_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

TEST(EngineThread, RunsTasksInPostingOrder) {
  std::vector<int> order;
  EngineThread engine("test");
  for (int i = 0; i < 100; ++i) engine.post([&order, i] { order.push_back(i); });
  engine.run([&] {
    ASSERT_EQ(order.size(), 100u);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
  });
}

TEST(EngineThread, RunsDelayedTasksByDueTime) {
  std::vector<int> order;
  std::promise<void> last;
  EngineThread engine("test");
  engine.postAfter(40ms, [&] {
    order.push_back(2);
    last.set_value();
  });
  engine.postAfter(10ms, [&] { order.push_back(1); });
  engine.post([&] { order.push_back(0); });
  last.get_future().wait();
  engine.run([&] { EXPECT_EQ(order, (std::vector<int>{0, 1, 2})); });
}

TEST(EngineThread, DelayedTaskIsNotEarly) {
  std::promise<EngineThread::Clock::time_point> ran;
  EngineThread engine("test");
  const auto posted = EngineThread::Clock::now();
  engine.postAfter(30ms, [&] { ran.set_value(EngineThread::Clock::now()); });
  EXPECT_GE(ran.get_future().get() - posted, 30ms);
}

TEST(EngineThread, CancelledTaskNeverRuns) {
  bool cancelledRan = false;
  EngineThread engine("test");
  engine.run([&] {
    const auto id = engine.post([&] { cancelledRan = true; });
    engine.cancel(id);
    engine.cancel(id);  // no longer there
    engine.cancel(0);
  });
  engine.run([&] { EXPECT_FALSE(cancelledRan); });
}

TEST(EngineThread, RunInsideATaskDoesNotWaitForItself) {
  EngineThread engine("test");
  int depth = 0;
  engine.run([&] {
    EXPECT_TRUE(engine.isCurrent());
    engine.run([&] { depth = 1; });
    EXPECT_EQ(depth, 1);
  });
  EXPECT_FALSE(engine.isCurrent());
}

TEST(EngineThread, DestructionRunsDueTasksAndDropsDelayedOnes) {
  bool due = false;
  bool delayed = false;
  auto captured = std::make_shared<int>(0);
  {
    EngineThread engine("test");
    engine.post([] { std::this_thread::sleep_for(5ms); });
    engine.post([&due, captured] { due = true; });
    engine.postAfter(1h, [&delayed, captured] { delayed = true; });
  }
  EXPECT_TRUE(due);
  EXPECT_FALSE(delayed);
  EXPECT_EQ(captured.use_count(), 1) << "tasks must not outlive the thread";
}

TEST(EngineThread, PostingAfterDestructionBeganIsRefused) {
  std::promise<void> entered;
  std::promise<EngineThread::TaskId> answer;
  auto engine = std::make_unique<EngineThread>("test");
  EngineThread* raw = engine.get();
  std::atomic<bool> destroying{false};
  engine->post([&] {
    entered.set_value();
    while (!destroying) std::this_thread::yield();
    EngineThread::TaskId id = 1;
    while (id != 0) {  // until destruction has begun
      id = raw->postAfter(1h, [] {});
      raw->cancel(id);
    }
    answer.set_value(id);
  });
  entered.get_future().wait();
  destroying = true;
  engine.reset();
  EXPECT_EQ(answer.get_future().get(), 0u);
}

TEST(EngineThread, RunReturnsFalseAfterDestructionBegan) {
  auto engine = std::make_unique<EngineThread>("test");
  EngineThread& running = *engine;
  bool ran = false;
  std::promise<void> entered;
  std::promise<bool> result;
  running.post([&] {
    entered.set_value();
    while (running.post([] {}) != 0) std::this_thread::yield();  // until destruction has begun
    std::thread other([&] { result.set_value(running.run([&ran] { ran = true; })); });
    other.join();
  });
  entered.get_future().wait();
  engine.reset();
  EXPECT_FALSE(result.get_future().get());
  EXPECT_FALSE(ran);
}

TEST(EngineThreadDeathTest, AnotherThreadIsNotTheEngineThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EngineThread engine("test");
  EXPECT_TRUE(engine.run([&engine] { engine.assertCurrent(); }));
  EXPECT_DEATH(engine.assertCurrent(), "");
}

TEST(EngineThread, TakesTasksFromManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kTasks = 500;
  int count = 0;
  {
    EngineThread engine("test");
    std::vector<std::thread> posters;
    for (int i = 0; i < kThreads; ++i) {
      posters.emplace_back([&] {
        for (int n = 0; n < kTasks; ++n) engine.post([&count] { ++count; });
      });
    }
    for (std::thread& poster : posters) poster.join();
  }
  EXPECT_EQ(count, kThreads * kTasks);
}

}  // namespace
}  // namespace NimboEngine
