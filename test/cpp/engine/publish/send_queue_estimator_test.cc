#include "publish/send_queue_estimator.h"

#include <gtest/gtest.h>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

TEST(SendQueueEstimator, ReturnsThePlayingTimeOfTheQueue) {
  SendQueueEstimator estimator;
  EXPECT_EQ(estimator.playingTime(0), 0ms);
  EXPECT_EQ(estimator.playingTime(500), 0ms) << "bytes of the protocol's own";
  for (uint32_t time = 0; time < 1000; time += 100) estimator.add(10, time);
  EXPECT_EQ(estimator.playingTime(100), 900ms);
  EXPECT_EQ(estimator.playingTime(31), 300ms) << "a part of a tag counts as the tag";
  EXPECT_EQ(estimator.playingTime(30), 200ms);
  EXPECT_EQ(estimator.playingTime(10), 0ms) << "the newest alone";
  EXPECT_EQ(estimator.playingTime(0), 0ms);
  estimator.add(10, 1100);
  estimator.add(10, 1400);
  EXPECT_EQ(estimator.playingTime(20), 300ms);
}

TEST(SendQueueEstimator, TimeStampsMayWrapAndStepBack) {
  SendQueueEstimator estimator;
  estimator.add(10, 0xffff'ff00);
  estimator.add(10, 0x0000'0100);
  EXPECT_EQ(estimator.playingTime(20), 512ms);
  SendQueueEstimator interleaved;
  interleaved.add(10, 120);
  interleaved.add(10, 100);
  EXPECT_EQ(interleaved.playingTime(20), 0ms);
}

}  // namespace
}  // namespace NimboEngine
