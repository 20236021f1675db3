#include "play/presenter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Time = Presenter::Time;

GstPtr<GstBuffer> bufferOf(gsize bytes) {
  GstPtr<GstBuffer> buffer(gst_buffer_new_allocate(nullptr, bytes, nullptr));
  gst_buffer_memset(buffer.get(), 0, 1, bytes);
  return buffer;
}

// 20 ms.
GstPtr<GstBuffer> audio() {
  return bufferOf(960 * 2 * sizeof(int16_t));
}

class PresenterTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  struct Shown {
    gsize size;  // identifies the frames
    Time time;
  };

  Presenter::Sinks sinks() {
    return {.onFrame =
                [this](GstBuffer* buffer, const GstVideoInfo&) {
                  std::lock_guard lock(mutex);
                  frames.push_back({gst_buffer_get_size(buffer), Clock::now()});
                  changed.notify_all();
                },
            .onAudio =
                [this](const AudioAligner::Piece& piece) {
                  std::lock_guard lock(mutex);
                  lead = piece.moment - Clock::now();
                  ++pieces;
                  changed.notify_all();
                }};
  }

  template <class Condition>
  bool wait(Condition condition) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, 10s, condition);
  }

  std::mutex mutex;
  std::condition_variable changed;
  std::vector<Shown> frames;
  int pieces = 0;
  Clock::duration lead{};
};

TEST_F(PresenterTest, TheFirstFrameIsShownImmediatelyAndTheOthersWhenDue) {
  Presenter presenter({}, sinks());
  presenter.setLive(false);
  const Time start = Clock::now();
  for (gsize i = 1; i <= 10; ++i) presenter.pushVideo(bufferOf(i), {}, 1h + i * 20ms);
  ASSERT_TRUE(wait([&] { return frames.size() == 10; }));
  EXPECT_LT(frames[0].time - start, 100ms);
  for (gsize i = 2; i < 10; ++i) {
    EXPECT_EQ(frames[i].size, i + 1);
    EXPECT_GE(frames[i].time - start, 130ms + i * 20ms) << "none is early";
  }
  while (!presenter.isDrained()) std::this_thread::yield();  // there is no event for it
}

TEST_F(PresenterTest, AudioIsDeliveredAheadOfItsTime) {
  Presenter presenter({}, sinks());
  presenter.setLive(false);
  for (int i = 0; i < 10; ++i) presenter.pushAudio(audio(), i * 20ms);
  ASSERT_TRUE(wait([&] { return pieces == 10; }));
  EXPECT_GT(lead, 0ms);
  EXPECT_LE(lead, PresentationClock::kAudioLead + 25ms);
  EXPECT_FALSE(presenter.isDrained()) << "the last chunk has not been played yet";
}

TEST_F(PresenterTest, FramesWhoseSuccessorIsDueAreDroppedAndCounted) {
  std::promise<void> go;
  auto gate = go.get_future().share();
  auto slow = sinks();
  slow.onFrame = [&, show = slow.onFrame](GstBuffer* buffer, const GstVideoInfo& info) {
    show(buffer, info);
    gate.wait();
  };
  Presenter presenter({}, slow);
  presenter.setLive(false);
  for (gsize i = 1; i <= 10; ++i) presenter.pushVideo(bufferOf(i), {}, i * 1ms);
  ASSERT_TRUE(wait([&] { return frames.size() == 1; }));
  const Time due = Clock::now() + 300ms;
  std::unique_lock lock(mutex);
  changed.wait_until(lock, due, [] { return false; });
  lock.unlock();
  go.set_value();
  ASSERT_TRUE(wait([&] { return frames.size() == 2; }));
  EXPECT_EQ(frames[1].size, 10U) << "the newest that is due";
  EXPECT_EQ(presenter.counts().lateFrames, 8U);
}

TEST_F(PresenterTest, WithTheLowestLatencyEveryFrameIsShownImmediately) {
  Presenter presenter({.lowest = true}, sinks());
  for (gsize i = 1; i <= 5; ++i) {
    presenter.pushVideo(bufferOf(i), {}, i * 10min);
    ASSERT_TRUE(wait([&] { return frames.size() == i; }));
  }
  EXPECT_EQ(presenter.counts().lateFrames, 0U);
}

TEST_F(PresenterTest, ADecoderWaitsForAFullQueueAndCloseReleasesIt) {
  Presenter presenter({}, sinks());
  presenter.setLive(false);
  std::atomic<int> pushed{0};
  auto decoder = std::async(std::launch::async, [&] {
    for (; pushed < 1000; ++pushed) presenter.pushVideo(bufferOf(1), {}, pushed.load() * 1min);
  });
  ASSERT_TRUE(wait([&] { return frames.size() == 1; }));
  EXPECT_EQ(decoder.wait_for(100ms), std::future_status::timeout);
  EXPECT_LT(pushed, 20);
  presenter.close();
  EXPECT_EQ(decoder.wait_for(10s), std::future_status::ready);
  EXPECT_EQ(frames.size(), 1U) << "nothing is shown any more";
}

TEST_F(PresenterTest, CloseWaitsForASinkThatIsRunning) {
  std::promise<void> entered;
  std::atomic<bool> left{false};
  auto slow = sinks();
  slow.onFrame = [&](GstBuffer*, const GstVideoInfo&) {
    entered.set_value();
    std::unique_lock lock(mutex);
    changed.wait_for(lock, 50ms, [] { return false; });
    left = true;
  };
  Presenter presenter({}, slow);
  presenter.pushVideo(bufferOf(1), {}, 0ms);
  entered.get_future().wait();
  presenter.close();
  EXPECT_TRUE(left);
}

}  // namespace
}  // namespace NimboEngine
