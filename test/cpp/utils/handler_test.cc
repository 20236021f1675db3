#include "utils/handler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <limits>
#include <mutex>
#include <vector>

namespace LumoLivePushElectronSDK {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kHourMs = 3'600'000;
constexpr auto kHangGuard = 60s;

std::shared_ptr<Message> At(
    Message::Time when, std::function<void()> todo = [] {}) {
  return std::make_shared<Message0<std::function<void()>>>("test", when, std::move(todo));
}

std::shared_ptr<Message> Posted(std::function<void()> todo = [] {}) {
  return makeMessage0("test", std::move(todo));
}

// Raised once by one thread, awaited by another. Copies share one state, so that a detached thread
// may raise it last.
class Signal {
 public:
  void Raise() const {
    const std::lock_guard lock(state_->mutex);
    state_->raised = true;
    state_->changed.notify_all();
  }
  bool IsRaised() const {
    const std::lock_guard lock(state_->mutex);
    return state_->raised;
  }
  void Await() const {
    std::unique_lock lock(state_->mutex);
    EXPECT_TRUE(state_->changed.wait_for(lock, kHangGuard, [this] { return state_->raised; }));
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    bool raised = false;
  };
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

// -------------------------------------------------------------------------------- MessageQueue

TEST(MessageQueueTest, ReturnsMessagesByDueTimeAndEqualOnesInPostingOrder) {
  const auto past = Message::Clock::now() - 1h;
  const std::array<int, 8> offsets = {5, 1, 3, 1, 5, 0, 3, 9};
  const std::array<std::size_t, 8> expected = {5, 1, 3, 2, 6, 0, 4, 7};
  std::vector<std::shared_ptr<Message>> posted;
  MessageQueue queue;
  for (const int offset : offsets) {
    posted.push_back(At(past + std::chrono::seconds(offset)));
    queue.enqueueMessage(posted.back());
  }
  for (const auto index : expected) EXPECT_EQ(queue.next(), posted[index]) << index;
}

TEST(MessageQueueTest, NeverReturnsAMessageEarly) {
  MessageQueue queue;
  for (const auto delay : {0us, 300us, 900us, 1000us, 1999us, 5500us}) {
    const auto message = At(Message::Clock::now() + delay);
    queue.enqueueMessage(message);
    ASSERT_EQ(queue.next(), message);
    EXPECT_GE(Message::Clock::now(), message->when);
  }
}

TEST(MessageQueueTest, PostingSetsTheDueTime) {
  MessageQueue queue;
  const auto message = At({});
  const auto before = Message::Clock::now();
  queue.postMessage(message, 7s);
  const auto after = Message::Clock::now();
  EXPECT_GE(message->when, before + 7s);
  EXPECT_LE(message->when, after + 7s);
}

TEST(MessageQueueTest, FindsAndRemovesByIdentityOneEntryAtATime) {
  const auto past = Message::Clock::now() - 1h;
  MessageQueue queue;
  const auto twice = At(past), once = At(past), other = At(past);
  for (const auto& message : {twice, once, twice}) queue.enqueueMessage(message);
  EXPECT_TRUE(queue.hasMessage(twice));
  EXPECT_FALSE(queue.hasMessage(other));
  EXPECT_FALSE(queue.removeMessage(other));
  EXPECT_TRUE(queue.removeMessage(twice));
  EXPECT_TRUE(queue.hasMessage(twice));
  EXPECT_EQ(queue.next(), once);  // the first entry went
  EXPECT_TRUE(queue.removeMessage(twice));
  EXPECT_FALSE(queue.hasMessage(twice));
  EXPECT_FALSE(queue.removeMessage(twice));
}

TEST(MessageQueueTest, ClearingReleasesEveryMessage) {
  MessageQueue queue;
  auto message = At(Message::Clock::now());
  const std::weak_ptr<Message> released = message;
  queue.enqueueMessage(std::move(message));
  queue.clearMessages();
  EXPECT_TRUE(released.expired());
}

TEST(MessageQueueTest, AMessageMayUseTheQueueWhenItIsReleased) {
  MessageQueue queue;
  bool asked = false;
  queue.enqueueMessage(makeMessage0("test", [token = std::shared_ptr<void>(nullptr, [&](void*) {
                                               asked = !queue.hasMessage(nullptr);
                                             })] {}));
  queue.clearMessages();
  EXPECT_TRUE(asked);
}

TEST(MessageQueueTest, QuittingBeatsQueuedMessages) {
  MessageQueue queue;
  queue.enqueueMessage(At(Message::Clock::now() - 1h));
  EXPECT_FALSE(queue.isQuitting());
  queue.quit();
  EXPECT_TRUE(queue.isQuitting());
  EXPECT_EQ(queue.next(), nullptr);
  EXPECT_EQ(queue.next(), nullptr);
}

TEST(MessageQueueTest, QuitEndsEveryWait) {
  MessageQueue empty, waiting;
  waiting.enqueueMessage(At(Message::Clock::now() + 1h));
  auto on_empty = std::async(std::launch::async, [&] { return empty.next(); });
  auto on_message = std::async(std::launch::async, [&] { return waiting.next(); });
  auto on_pending = std::async(std::launch::async, [&] { waiting.waitUntilNoPendingMessage(); });
  empty.quit();
  waiting.quit();
  EXPECT_EQ(on_empty.get(), nullptr);
  EXPECT_EQ(on_message.get(), nullptr);
  on_pending.get();
}

TEST(MessageQueueTest, WaitsUntilNothingIsPending) {
  MessageQueue queue;
  queue.waitUntilNoPendingMessage();  // empty: at once
  const auto message = At(Message::Clock::now() - 1h);
  queue.enqueueMessage(message);
  std::atomic<bool> taken = false;
  auto waiter = std::async(std::launch::async, [&] {
    queue.waitUntilNoPendingMessage();
    EXPECT_TRUE(taken);
  });
  taken = true;
  EXPECT_EQ(queue.next(), message);
  waiter.get();
}

TEST(MessageQueueTest, EightThreadsPostAndEachMessageArrivesOnceInItsThreadsOrder) {
  constexpr std::size_t kThreads = 8;
  constexpr int kEach = 500;
  MessageQueue queue;
  std::array<std::vector<int>, kThreads> ran;
  std::vector<std::thread> posters;
  for (std::size_t i = 0; i < kThreads; ++i) {
    posters.emplace_back([&queue, &ran, i] {
      for (int j = 0; j < kEach; ++j) {
        queue.postMessage(makeMessage0("test", [&ran, i, j] { ran[i].push_back(j); }), 0ms);
      }
    });
  }
  for (std::size_t i = 0; i < kThreads * kEach; ++i) queue.next()->process();
  for (auto& poster : posters) poster.join();
  std::vector<int> expected(kEach);
  for (int j = 0; j < kEach; ++j) expected[static_cast<std::size_t>(j)] = j;
  for (const auto& order : ran) EXPECT_EQ(order, expected);
  queue.waitUntilNoPendingMessage();  // nothing came twice
}

// ------------------------------------------------------------------------------------- Handler

TEST(HandlerTest, RefusesNull) {
  Looper looper;
  Handler handler(&looper);
  EXPECT_FALSE(handler.sendMessage(nullptr));
  EXPECT_FALSE(handler.sendMessageDelayedMs(nullptr, 5));
  EXPECT_FALSE(handler.hasMessage(nullptr));
  EXPECT_FALSE(handler.removeMessage(nullptr));
}

TEST(HandlerTest, AsksAndRemovesOnItsLooper) {
  Looper looper;
  Handler handler(&looper);
  const auto message = Posted();
  EXPECT_FALSE(handler.hasMessage(message));
  EXPECT_TRUE(handler.sendMessage(message));
  EXPECT_TRUE(handler.hasMessage(message));
  EXPECT_TRUE(handler.removeMessage(message));
  EXPECT_FALSE(handler.removeMessage(message));
}

TEST(HandlerTest, LongestDelayDoesNotOverflow) {
  Looper looper;
  Handler handler(&looper);
  const auto message = Posted();
  const auto before = Message::Clock::now();
  EXPECT_TRUE(handler.sendMessageDelayedMs(message, std::numeric_limits<uint32_t>::max()));
  EXPECT_GE(message->when, before + 4'294'967'295ms);
  EXPECT_LE(message->when, Message::Clock::now() + 4'294'967'295ms);
}

// -------------------------------------------------------------------------------------- Looper

// Notes what the thread calls, in order.
class NotingLooper final : public Looper {
 public:
  explicit NotingLooper(bool enters = true) : enters_(enters) {}
  ~NotingLooper() override { stop(true); }

  void Note(const std::string& what) {
    const std::lock_guard lock(mutex_);
    notes_.push_back(what);
  }
  std::vector<std::string> notes() {
    const std::lock_guard lock(mutex_);
    return notes_;
  }

 protected:
  bool enter() override {
    Note(isCurrentLooperThread() ? "enter" : "enter elsewhere");
    return enters_;
  }
  void loop() override {
    Note("loop");
    Looper::loop();
  }
  void exit() override { Note("exit"); }

 private:
  const bool enters_;
  std::mutex mutex_;
  std::vector<std::string> notes_;
};

using Notes = std::vector<std::string>;

TEST(LooperTest, RunsEntersLoopsAndExitsInOrder) {
  NotingLooper looper;
  Handler handler(&looper);
  const Signal ran;
  handler.sendMessage(Posted([&, ran] {
    looper.Note("message");
    ran.Raise();
  }));
  EXPECT_TRUE(looper.start());
  EXPECT_TRUE(looper.start());  // one thread only
  ran.Await();
  looper.stop(true);
  EXPECT_EQ(looper.notes(), (Notes{"enter", "loop", "message", "exit"}));
  looper.stop(true);
  looper.stop(false);
  EXPECT_EQ(looper.notes().size(), 4U);
}

TEST(LooperTest, NeitherLoopsNorExitsWhenEnterRefuses) {
  NotingLooper looper(false);
  EXPECT_TRUE(looper.start());
  looper.stop(true);
  EXPECT_EQ(looper.notes(), Notes{"enter"});
}

TEST(LooperTest, KnowsItsOwnThread) {
  Looper looper, other;
  Handler handler(&looper);
  EXPECT_FALSE(looper.isCurrentLooperThread());
  looper.start();
  const Signal ran;
  handler.sendMessage(Posted([&, ran] {
    EXPECT_TRUE(looper.isCurrentLooperThread());
    EXPECT_FALSE(other.isCurrentLooperThread());
    ran.Raise();
  }));
  ran.Await();
  EXPECT_FALSE(looper.isCurrentLooperThread());
}

TEST(LooperTest, RunsEqualDueTimesInPostingOrder) {
  std::vector<int> order;
  const Signal ran;
  Looper looper;
  Handler handler(&looper);
  for (int i = 0; i < 50; ++i) handler.sendMessage(Posted([&order, i] { order.push_back(i); }));
  handler.sendMessage(Posted([&, ran] { ran.Raise(); }));
  looper.start();
  ran.Await();
  for (int i = 0; i < 50; ++i) EXPECT_EQ(order.at(static_cast<std::size_t>(i)), i);
}

TEST(LooperTest, RunsByDelayWhateverTheOrderOfPosting) {
  std::string order;
  const Signal ran;
  Looper looper;
  Handler handler(&looper);
  handler.sendMessageDelayedMs(Posted([&, ran] {
                                 order += 'c';
                                 ran.Raise();
                               }),
                               40);
  handler.sendMessageDelayedMs(Posted([&] { order += 'b'; }), 20);
  handler.sendMessage(Posted([&] { order += 'a'; }));
  looper.start();
  ran.Await();
  EXPECT_EQ(order, "abc");
}

TEST(LooperTest, ANewHeadWakesTheConsumerFromAnHoursWait) {
  Looper looper;
  Handler handler(&looper);
  looper.start();
  // Each of the two waits is an hour: on an empty queue, and behind a message that is far away.
  const Signal first, second;
  handler.sendMessage(Posted([&, first] { first.Raise(); }));
  first.Await();
  const auto late = Posted([] { ADD_FAILURE() << "ran an hour early"; });
  handler.sendMessageDelayedMs(late, kHourMs);
  handler.sendMessage(Posted([&, second] { second.Raise(); }));
  second.Await();
  EXPECT_TRUE(handler.hasMessage(late));
}

TEST(LooperTest, AMessageMayPostTheNext) {
  Looper looper;
  Handler handler(&looper);
  const Signal done;
  int rounds = 0;
  std::function<void()> again = [&, done] {
    if (++rounds == 20) {
      done.Raise();
    } else {
      handler.sendMessageDelayedMs(Posted(again), 1);
    }
  };
  handler.sendMessage(Posted(again));
  looper.start();
  done.Await();
  EXPECT_EQ(rounds, 20);
}

TEST(LooperTest, StopWithoutJoinDoesNotWaitForTheMessageInProgress) {
  Looper looper;
  Handler handler(&looper);
  const Signal began, ended, release;
  handler.sendMessage(Posted([&, began, ended, release] {
    began.Raise();
    release.Await();
    ended.Raise();
  }));
  looper.start();
  began.Await();
  looper.stop(false);
  EXPECT_FALSE(ended.IsRaised());  // returned while the message runs
  release.Raise();
  ended.Await();
}

TEST(LooperTest, DoesNotReviveButEntersAndExitsAgain) {
  NotingLooper looper;
  Handler handler(&looper);
  looper.start();
  looper.stop(true);
  const auto never = Posted([] { ADD_FAILURE() << "ran after stop"; });
  handler.sendMessage(never);
  EXPECT_TRUE(looper.start());
  EXPECT_TRUE(looper.start());  // another thread, as the first ends by itself
  looper.stop(true);
  EXPECT_TRUE(handler.hasMessage(never));
  auto notes = looper.notes();
  std::sort(notes.begin(), notes.end());
  EXPECT_EQ(notes,
            (Notes{"enter", "enter", "enter", "exit", "exit", "exit", "loop", "loop", "loop"}));
}

TEST(LooperTest, DestructionDropsQueuedMessages) {
  const auto message = Posted([] { ADD_FAILURE() << "ran an hour early"; });
  {
    Looper looper;
    Handler handler(&looper);
    handler.sendMessageDelayedMs(message, kHourMs);
    looper.start();
  }
  EXPECT_EQ(message.use_count(), 1);
}

TEST(LooperTest, DestructionWithoutStart) {
  const Looper looper;
  EXPECT_FALSE(looper.isCurrentLooperThread());
}

TEST(LooperTest, DestructionOnItsOwnThread) {
  auto looper = std::make_unique<Looper>();
  auto dropped = Posted([] { ADD_FAILURE() << "ran after the looper's end"; });
  const std::weak_ptr<Message> released = dropped;
  const Signal destroyed;
  Handler handler(looper.get());
  handler.sendMessageDelayedMs(std::move(dropped), kHourMs);
  handler.sendMessage(Posted([&, destroyed] {
    looper.reset();
    destroyed.Raise();
  }));
  looper->start();
  destroyed.Await();
  EXPECT_TRUE(released.expired());
}

TEST(LooperTest, DestructionAfterADetachingStopDoesNotWaitForTheMessage) {
  const Signal began, ended, release;
  {
    Looper looper;
    Handler handler(&looper);
    handler.sendMessage(Posted([&, began, ended, release] {
      began.Raise();
      release.Await();
      ended.Raise();
    }));
    looper.start();
    began.Await();
    looper.stop(false);
  }
  release.Raise();
  ended.Await();
}

// The thread may be at any point of its execution when the looper is destroyed.
TEST(LooperTest, DetachedThreadsNeverTouchADestroyedLooper) {
  for (int i = 0; i < 300; ++i) {
    Looper looper;
    Handler handler(&looper);
    if (i % 3 == 0) handler.sendMessage(Posted());
    looper.start();
    if (i % 2 == 0) std::this_thread::yield();
    looper.stop(false);
  }
}

TEST(LooperTest, StopOnItsOwnThread) {
  for (const bool join : {false, true}) {
    Looper looper;
    Handler handler(&looper);
    const Signal stopped;
    handler.sendMessage(Posted([&, stopped] {
      looper.stop(join);
      stopped.Raise();
    }));
    looper.start();
    stopped.Await();
  }
}

TEST(LooperTest, StartAndStopFromManyThreads) {
  Looper looper;
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&looper, i] {
      for (int j = 0; j < 50; ++j) i % 2 ? looper.stop(j % 2 == 0) : void(looper.start());
    });
  }
  for (auto& thread : threads) thread.join();
}

}  // namespace
}  // namespace LumoLivePushElectronSDK
