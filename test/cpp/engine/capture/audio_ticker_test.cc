// Audio while one source replaces another.

#include "capture/audio_ticker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "capture/capture_probe.h"
#include "gst/runtime.h"

namespace NimboEngine::test {
namespace {

constexpr AudioFormat kFormat{48000, 1};
constexpr size_t kPrebuffer = 1920;
constexpr size_t kMinute = 60 * 48000;

class AudioTickerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }
  AudioTickerTest() { consumers_.add(&probe_); }

  static std::shared_ptr<SampleFifo> makeSource() {
    return std::make_shared<SampleFifo>(1, kPrebuffer, 2 * kMinute);
  }

  static void give(SampleFifo& source, int16_t value, size_t frames) {
    source.push(std::vector<int16_t>(frames, value).data(), frames);
  }

  bool waitFor(int16_t value) {
    return probe_.waitForAudio(
        [value](const AudioChunk& chunk) { return chunk.samples.back() == value; });
  }

  CaptureProbe probe_;
  SinkList<FrameConsumer> consumers_;
  AudioTicker ticker_{kFormat, consumers_};
};

TEST_F(AudioTickerTest, ASourceIsUsedUntilItsSuccessorHasSamples) {
  const auto first = makeSource();
  const auto second = makeSource();
  give(*first, 1, kMinute);
  ticker_.setSource(first);
  ASSERT_TRUE(waitFor(1));
  ticker_.setSource(second);
  give(*second, 2, kPrebuffer - 1);
  for (const AudioChunk& chunk : probe_.audioChunks(10)) {
    EXPECT_EQ(chunk.samples.back(), 1) << "the prebuffer fills first";
  }
  give(*second, 2, kMinute);
  ASSERT_TRUE(waitFor(2));
  for (const AudioChunk& chunk : probe_.audioChunks(10)) EXPECT_EQ(chunk.samples.front(), 2);
}

TEST_F(AudioTickerTest, WithoutASourceItIsSilentImmediately) {
  const auto source = makeSource();
  give(*source, 1, kMinute);
  ticker_.setSource(source);
  ASSERT_TRUE(waitFor(1));
  ticker_.setSource(makeSource());  // never used
  ticker_.setSource(nullptr);
  ASSERT_TRUE(waitFor(0));
  for (const AudioChunk& chunk : probe_.audioChunks(10)) EXPECT_TRUE(chunk.isSilent());
}

}  // namespace
}  // namespace NimboEngine::test
