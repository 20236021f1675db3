#include "capture/ticker.h"

#include <gtest/gtest.h>

#include <future>
#include <vector>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

struct Call {
  uint64_t number;
  GstClockTime time;
};

class TickerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }
};

// Runs a ticker for `count` ticks; `first` is called in the first one.
std::vector<Call> record(
    uint32_t rate, uint64_t catchUp, size_t count, const std::function<void()>& first = [] {}) {
  std::vector<Call> calls;
  std::promise<void> enough;
  {
    Ticker ticker("test", rate, catchUp, [&](uint64_t number, GstClockTime time) {
      if (calls.size() >= count) return;
      if (calls.empty()) first();
      calls.push_back({number, time});
      if (calls.size() == count) enough.set_value();
    });
    enough.get_future().wait();
  }
  return calls;
}

void pause(int ms) {
  std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

TEST_F(TickerTest, TicksFollowTheSchedule) {
  const std::vector<Call> calls = record(100, 1000, 50);
  const TickSchedule schedule(calls[0].time, 100);
  for (size_t i = 0; i < calls.size(); ++i) {
    EXPECT_EQ(calls[i].number, i);
    EXPECT_EQ(calls[i].time, schedule.time(i));
  }
}

TEST_F(TickerTest, AnotherRateStartsANewScheduleAtTheNextTick) {
  std::vector<Call> calls;
  std::promise<void> some;
  std::promise<void> enough;
  {
    Ticker ticker("test", 100, 1000, [&](uint64_t number, GstClockTime time) {
      calls.push_back({number, time});
      if (calls.size() == 10) some.set_value();
      if (calls.size() > 10 && number == 20) enough.set_value();
    });
    some.get_future().wait();
    ticker.setRate(200);
    enough.get_future().wait();
  }
  size_t turn = 1;
  while (calls[turn].number != 0) ++turn;
  EXPECT_EQ(calls[turn].time, TickSchedule(calls[0].time, 100).time(turn)) << "where it was due";
  const TickSchedule schedule(calls[turn].time, 200);
  for (size_t i = turn; i < calls.size(); ++i) {
    EXPECT_EQ(calls[i].number, i - turn);
    EXPECT_EQ(calls[i].time, schedule.time(i - turn));
  }
}

TEST_F(TickerTest, AnOverdueTickIsLeftOutWithoutAllowance) {
  const std::vector<Call> calls = record(100, 0, 5, [] { pause(55); });
  EXPECT_GE(calls[1].number, 5U);
  const TickSchedule schedule(calls[0].time, 100);
  for (const Call& call : calls) EXPECT_EQ(call.time, schedule.time(call.number));
}

TEST_F(TickerTest, OverdueTicksAreCaughtUpWithinTheAllowance) {
  const std::vector<Call> calls = record(100, 1000, 10, [] { pause(55); });
  for (size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(calls[i].number, i);
}

TEST_F(TickerTest, DestructionWaitsForTheTickInProgress) {
  std::promise<void> entered;
  bool left = false;
  {
    Ticker ticker("test", 1, 0, [&](uint64_t number, GstClockTime) {
      if (number > 0) return;
      entered.set_value();
      pause(20);
      left = true;
    });
    entered.get_future().wait();
  }
  EXPECT_TRUE(left);
}

}  // namespace
}  // namespace NimboEngine
