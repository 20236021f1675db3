#include "play/delay_meter.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

class DelayMeterTest : public testing::Test {
 protected:
  // A picture every 40 ms from `from` on, each arriving `delay` late.
  void stream(std::chrono::milliseconds from, std::chrono::milliseconds to,
              std::chrono::milliseconds delay) {
    for (auto time = from; time < to; time += 40ms) meter.add(start + time + delay, 7s + time);
  }

  DelayMeter meter;
  const DelayMeter::Time start{1h};
};

TEST_F(DelayMeterTest, AnEvenStreamHasNoDelay) {
  EXPECT_EQ(meter.takeWorst(start), 0ms) << "nothing has come yet";
  stream(0ms, 1s, 30ms);
  EXPECT_LE(meter.takeWorst(start + 1s + 30ms), 2ms);
}

TEST_F(DelayMeterTest, WhatComesLateIsSeenOnce) {
  stream(0ms, 1s, 30ms);
  stream(1s, 1200ms, 530ms);
  EXPECT_NEAR(static_cast<double>(meter.takeWorst(start + 1700ms).count()), 500, 3);
  stream(1200ms, 2s, 30ms);
  EXPECT_LE(meter.takeWorst(start + 2s), 3ms);
}

TEST_F(DelayMeterTest, OverdueDataCountBeforeTheyCome) {
  stream(0ms, 1s, 0ms);
  EXPECT_NEAR(static_cast<double>(meter.takeWorst(start + 3s).count()), 2000, 3);
  EXPECT_NEAR(static_cast<double>(meter.takeWorst(start + 4s).count()), 3000, 3);
}

TEST_F(DelayMeterTest, ASlowSlideShowIsNotLate) {
  for (auto time = 0s; time < 20s; time += 2s) meter.add(start + time, time);
  EXPECT_LE(meter.takeWorst(start + 20s), 20ms);
}

TEST_F(DelayMeterTest, AFasterWayBecomesTheMeasure) {
  stream(0ms, 1s, 200ms);
  meter.takeWorst(start + 1s);
  stream(1s, 2s, 50ms);
  stream(2s, 3s, 200ms);
  EXPECT_NEAR(static_cast<double>(meter.takeWorst(start + 3s).count()), 150, 3);
}

TEST_F(DelayMeterTest, DriftIsForgotten) {
  // The sender's clock is slower by a tenth of a millisecond a second.
  for (int i = 0; i < 100000; ++i) {
    meter.add(start + i * 40ms + i * 4us, i * 40ms);
  }
  EXPECT_LE(meter.takeWorst(start), 2ms);
}

TEST_F(DelayMeterTest, AJumpOfTheTimeStampsBeginsAnew) {
  stream(0ms, 1s, 0ms);
  meter.takeWorst(start + 1s);
  for (const auto jump : {-6s, 600s}) {
    meter.add(start + 1s, 7s + jump);
    EXPECT_LE(meter.takeWorst(start + 1s), 1ms);
  }
}

TEST_F(DelayMeterTest, PicturesInDecodingOrderAreNotLate) {
  constexpr int kOrder[] = {0, 120, 40, 80, 240, 160, 200};
  int arrival = 0;
  for (const int time : kOrder) {
    meter.add(start + arrival * 40ms, std::chrono::milliseconds(time));
    ++arrival;
  }
  EXPECT_LE(meter.takeWorst(start + arrival * 40ms), 130ms);
}

}  // namespace
}  // namespace NimboEngine
