#include "base/listener_slot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace NimboEngine {
namespace {

struct Listener {
  std::atomic<int> calls{0};
  std::atomic<bool> alive{true};
};

TEST(ListenerSlot, CallsTheListenerAndReturnsItsResult) {
  ListenerSlot<Listener> slot;
  Listener listener;
  slot.set(&listener);
  EXPECT_EQ(slot.call([](Listener& l) { return ++l.calls; }), 1);
}

TEST(ListenerSlot, ReturnsZeroWithoutAListener) {
  ListenerSlot<Listener> slot;
  EXPECT_FALSE(slot.call([](Listener&) { return true; }));
  Listener listener;
  slot.set(&listener);
  slot.set(nullptr);
  EXPECT_FALSE(slot.call([](Listener&) { return true; }));
}

TEST(ListenerSlot, SetWaitsForARunningCall) {
  ListenerSlot<Listener> slot;
  Listener listener;
  slot.set(&listener);
  std::promise<void> entered;
  std::promise<void> leave;
  std::atomic<bool> left{false};
  std::thread caller([&] {
    slot.call([&](Listener&) {
      entered.set_value();
      leave.get_future().wait();
      left = true;
    });
  });
  entered.get_future().wait();
  std::thread releaser([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    leave.set_value();
  });
  slot.set(nullptr);
  EXPECT_TRUE(left);
  caller.join();
  releaser.join();
}

TEST(ListenerSlot, ACallMayDetachItsOwnListener) {
  ListenerSlot<Listener> slot;
  Listener listener;
  slot.set(&listener);
  slot.call([&](Listener&) { slot.set(nullptr); });
  EXPECT_FALSE(slot.call([](Listener&) { return true; }));
}

// Detaches while eight threads call: a call that reaches a detached listener is a defect.
TEST(ListenerSlot, NoCallAfterDetaching) {
  ListenerSlot<Listener> slot;
  std::atomic<bool> stopping{false};
  std::atomic<int> lateCalls{0};
  std::atomic<int> calls{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 8; ++i) {
    callers.emplace_back([&] {
      while (!stopping) {
        slot.call([&](Listener& listener) {
          ++calls;
          if (!listener.alive) ++lateCalls;
        });
        std::this_thread::yield();
      }
    });
  }
  for (int round = 0; round < 300; ++round) {
    Listener listener;
    slot.set(&listener);
    std::this_thread::yield();
    slot.set(nullptr);
    listener.alive = false;
  }
  Listener last;
  slot.set(&last);
  while (calls == 0) std::this_thread::yield();
  slot.set(nullptr);
  stopping = true;
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(lateCalls, 0);
}

}  // namespace
}  // namespace NimboEngine
