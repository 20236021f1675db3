#include "base/worker.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace NimboEngine {
namespace {

using Callback = std::function<void(int)>;

// Passes every number that it is sent to its listener.
struct Echo : WorkerState<Callback, int> {
  using WorkerState::WorkerState;

  void run() {
    MutexLock lock(mutex);
    for (;;) {
      changed.wait(lock, [this]() NIMBO_REQUIRES(mutex) { return stopping || !messages.empty(); });
      if (stopping) return;
      const int message = takeMessage();
      lock.unlock();
      notify([message](Callback& callback) { callback(message); });
      lock.lock();
    }
  }
};

TEST(Worker, ProcessesMessagesInTheirOrder) {
  std::vector<int> received;
  std::promise<void> last;
  Worker<Echo> worker({.name = "test"}, [&](int number) {
    received.push_back(number);
    if (number == 3) last.set_value();
  });
  EXPECT_TRUE(worker.hasStarted());
  for (const int number : {1, 2, 3}) worker->send(number);
  last.get_future().wait();
  EXPECT_EQ(received, (std::vector<int>{1, 2, 3}));
}

TEST(Worker, CallsNoListenerOnceItWasAskedToStop) {
  int calls = 0;
  Worker<Echo> worker({.name = "test"}, [&calls](int) { ++calls; });
  worker.requestStop();
  worker->send(1);
  worker->notify([](Callback& callback) { callback(2); });
  EXPECT_EQ(calls, 0);
}

TEST(Worker, WaitsForAListenerCallInProgress) {
  std::promise<void> entered;
  std::promise<void> release;
  bool left = false;  // not atomic: stopping orders it
  Worker<Echo> worker({.name = "test"}, [&](int) {
    entered.set_value();
    release.get_future().wait();
    left = true;
  });
  worker->send(1);
  entered.get_future().wait();
  std::thread releasing([&release] { release.set_value(); });
  worker.requestStop();
  EXPECT_TRUE(left);
  releasing.join();
}

// Blocks until its test releases it, however often it is asked to stop.
struct Blocked : WorkerState<Callback> {
  Blocked(Callback callback, std::shared_ptr<std::promise<void>> letGo,
          std::shared_ptr<std::promise<void>> isFreed)
      : WorkerState(std::move(callback)), release(std::move(letGo)), freed(std::move(isFreed)) {}
  ~Blocked() { freed->set_value(); }

  const std::shared_ptr<std::promise<void>> release;
  const std::shared_ptr<std::promise<void>> freed;

  void run() {
    release->get_future().wait();
    notify([](Callback& callback) { callback(0); });
  }
};

TEST(Worker, DetachesABlockedThreadAndCallsNoListener) {
  auto release = std::make_shared<std::promise<void>>();
  auto freed = std::make_shared<std::promise<void>>();
  std::future<void> isFreed = freed->get_future();
  int calls = 0;
  {
    const Worker<Blocked> worker(
        {.name = "test", .endTimeout = std::chrono::milliseconds::zero()},
        [&calls](int) { ++calls; }, release, std::move(freed));
  }
  EXPECT_EQ(isFreed.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  release->set_value();
  EXPECT_EQ(isFreed.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace NimboEngine
