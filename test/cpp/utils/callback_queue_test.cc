#include "utils/callback_queue.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

namespace LumoLivePushElectronSDK {
namespace {

class CallBackQueueTest : public ::testing::Test {
 protected:
  // Frees the handles of this test's queues.
  void TearDown() override {
    queue_.reset();
    EXPECT_EQ(uv_run(uv_default_loop(), UV_RUN_DEFAULT), 0);
  }

  static void TurnLoop() { uv_run(uv_default_loop(), UV_RUN_NOWAIT); }

  // Turns the loop until `done`; the test's time limit is the hang guard.
  template <typename Done>
  static void TurnLoopUntil(Done done) {
    while (!done()) uv_run(uv_default_loop(), UV_RUN_ONCE);
  }

  int Call(std::function<void()> task) { return queue_->AsyncCall(std::move(task), 0); }

  std::unique_ptr<CallBackQueue> queue_ = std::make_unique<CallBackQueue>();
};

using Order = std::vector<int>;

// Runs `action` when the last copy is released.
std::shared_ptr<void> AtRelease(std::function<void()> action) {
  return {nullptr, [action = std::move(action)](void*) { action(); }};
}

TEST_F(CallBackQueueTest, KeepsTheLoopAlive) {
  EXPECT_TRUE(uv_loop_alive(uv_default_loop()));
  queue_.reset();
  EXPECT_EQ(uv_run(uv_default_loop(), UV_RUN_DEFAULT), 0);
  EXPECT_FALSE(uv_loop_alive(uv_default_loop()));
}

TEST_F(CallBackQueueTest, RunsEverythingInOneTurnInOrderAndNotBefore) {
  Order order;
  for (int i = 0; i < 10; ++i) EXPECT_EQ(Call([&order, i] { order.push_back(i); }), 0);
  EXPECT_TRUE(order.empty());
  TurnLoop();
  EXPECT_EQ(order, (Order{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(CallBackQueueTest, IgnoresTheReservedArgument) {
  bool ran = false;
  EXPECT_EQ(queue_->AsyncCall([&] { ran = true; }, 123), 0);
  TurnLoop();
  EXPECT_TRUE(ran);
}

TEST_F(CallBackQueueTest, RunsOnTheLoopsThread) {
  std::thread::id ran_on;
  std::thread([&] { Call([&] { ran_on = std::this_thread::get_id(); }); }).join();
  TurnLoop();
  EXPECT_EQ(ran_on, std::this_thread::get_id());
}

TEST_F(CallBackQueueTest, AClosureQueuedByAClosureRunsInTheSameDrainAfterIt) {
  Order order;
  Call([&] {
    order.push_back(1);
    Call([&] { order.push_back(4); });
    order.push_back(2);
  });
  Call([&] { order.push_back(3); });
  queue_->HandlerEvent();
  EXPECT_EQ(order, (Order{1, 2, 3, 4}));
}

TEST_F(CallBackQueueTest, AClosureMayDrainTheRestItself) {
  Order order;
  Call([&] {
    order.push_back(1);
    queue_->HandlerEvent();
    order.push_back(3);
  });
  Call([&] { order.push_back(2); });
  queue_->HandlerEvent();
  EXPECT_EQ(order, (Order{1, 2, 3}));
}

TEST_F(CallBackQueueTest, ClosuresAreReleasedOneByOne) {
  auto first = std::make_shared<int>(), second = std::make_shared<int>();
  const std::weak_ptr<int> first_released = first, second_released = second;
  Call([first = std::move(first)] {});
  Call([second = std::move(second), &first_released, &second_released] {
    EXPECT_TRUE(first_released.expired());
    EXPECT_FALSE(second_released.expired());
  });
  queue_->HandlerEvent();
  EXPECT_TRUE(second_released.expired());
}

TEST_F(CallBackQueueTest, AnEmptyClosureRaisesAndTheRestStays) {
  bool ran = false;
  EXPECT_EQ(Call(nullptr), 0);
  Call([&] { ran = true; });
  EXPECT_THROW(queue_->HandlerEvent(), std::bad_function_call);
  EXPECT_FALSE(ran);
  queue_->HandlerEvent();
  EXPECT_TRUE(ran);
}

TEST_F(CallBackQueueTest, EightThreadsEachClosureOnceInItsThreadsOrder) {
  constexpr std::size_t kThreads = 8;
  constexpr int kEach = 1000;
  std::array<Order, kThreads> ran;
  std::size_t count = 0;
  std::vector<std::thread> producers;
  for (std::size_t i = 0; i < kThreads; ++i) {
    producers.emplace_back([&, i] {
      for (int j = 0; j < kEach; ++j) {
        Call([&, i, j] {
          ran[i].push_back(j);
          ++count;
        });
      }
    });
  }
  TurnLoopUntil([&] { return count >= kThreads * kEach; });
  for (auto& producer : producers) producer.join();
  TurnLoop();  // nothing comes twice
  Order expected;
  for (int j = 0; j < kEach; ++j) expected.push_back(j);
  for (const auto& order : ran) EXPECT_EQ(order, expected);
}

TEST_F(CallBackQueueTest, OrderOfArrivalHoldsAcrossThreads) {
  constexpr std::size_t kThreads = 8;
  constexpr int kEach = 200;
  Order ran, expected;
  std::mutex arrival;
  int number = 0;
  std::vector<std::thread> producers;
  for (std::size_t i = 0; i < kThreads; ++i) {
    producers.emplace_back([&] {
      for (int j = 0; j < kEach; ++j) {
        const std::lock_guard lock(arrival);
        Call([&ran, n = number++] { ran.push_back(n); });
      }
    });
  }
  TurnLoopUntil([&] { return ran.size() >= kThreads * kEach; });
  for (auto& producer : producers) producer.join();
  for (int n = 0; n < number; ++n) expected.push_back(n);
  EXPECT_EQ(ran, expected);
}

TEST_F(CallBackQueueTest, NothingIsDroppedWithoutAMaximum) {
  int ran = 0;
  for (int i = 0; i < 10000; ++i) EXPECT_EQ(Call([&] { ++ran; }), 0);
  TurnLoop();
  EXPECT_EQ(ran, 10000);
}

TEST_F(CallBackQueueTest, MaximumDropsTheOldestWhenExceededOneACall) {
  Order order;
  queue_->SetMaxLength(2);
  for (int i = 1; i <= 5; ++i) EXPECT_EQ(Call([&order, i] { order.push_back(i); }), 0);
  TurnLoop();
  EXPECT_EQ(order, (Order{3, 4, 5}));  // one more than the maximum

  order.clear();
  queue_->SetMaxLength(0);
  for (int i = 1; i <= 5; ++i) Call([&order, i] { order.push_back(i); });
  queue_->SetMaxLength(2);
  Call([&] { order.push_back(6); });
  TurnLoop();
  EXPECT_EQ(order, (Order{2, 3, 4, 5, 6}));
}

TEST_F(CallBackQueueTest, DroppedClosuresMayCallTheQueueWhenTheyAreReleased) {
  bool ran = false;
  Call([token = AtRelease([&] { Call([&] { ran = true; }); })] {});
  Call([] {});
  queue_->SetMaxLength(1);
  Call([] {});
  queue_->SetMaxLength(0);
  TurnLoop();
  EXPECT_TRUE(ran);
}

TEST_F(CallBackQueueTest, StoppedRefusesButRunsWhatIsPending) {
  Order order;
  Call([&] { order.push_back(1); });
  queue_->Stop();
  EXPECT_EQ(Call([&] { order.push_back(2); }), -1);
  TurnLoop();
  EXPECT_EQ(order, Order{1});
}

TEST_F(CallBackQueueTest, DestructionReleasesPendingClosuresUnrun) {
  auto token = std::make_shared<int>();
  const std::weak_ptr<int> released = token;
  Call([token = std::move(token)] { ADD_FAILURE() << "ran after the queue's end"; });
  queue_.reset();
  EXPECT_TRUE(released.expired());
  TurnLoop();  // the wake-up that was already sent finds nothing
}

TEST_F(CallBackQueueTest, DestructionRefusesTheCallsOfReleasedClosures) {
  int answer = 0;
  auto* queue = queue_.get();
  Call([token = AtRelease([&, queue] { answer = queue->AsyncCall([] {}, 0); })] {});
  queue_.reset();
  EXPECT_EQ(answer, -1);
}

TEST_F(CallBackQueueTest, AClosureMayDestroyTheQueue) {
  auto token = std::make_shared<int>();
  const std::weak_ptr<int> released = token;
  bool survived = false;
  Call([&] {
    queue_.reset();
    EXPECT_TRUE(released.expired());  // at once, not when the drain returns
    survived = true;
  });
  Call([token = std::move(token)] { ADD_FAILURE() << "ran after the queue's end"; });
  TurnLoop();
  EXPECT_TRUE(survived);
}

TEST_F(CallBackQueueTest, TheReleaseOfAClosureMayDestroyTheQueue) {
  Call([token = AtRelease([this] { queue_.reset(); })] {});
  Call([] { ADD_FAILURE() << "ran after the queue's end"; });
  TurnLoop();
  EXPECT_EQ(queue_, nullptr);
}

TEST_F(CallBackQueueTest, QueuesAreIndependent) {
  Order order;
  auto other = std::make_unique<CallBackQueue>();
  Call([&] { order.push_back(1); });
  other->AsyncCall([&] { order.push_back(2); }, 0);
  queue_.reset();
  TurnLoop();
  EXPECT_EQ(order, Order{2});
}

}  // namespace
}  // namespace LumoLivePushElectronSDK
