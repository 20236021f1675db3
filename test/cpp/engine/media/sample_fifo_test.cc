#include "media/sample_fifo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <thread>
#include <vector>

namespace NimboEngine {
namespace {

using Samples = std::vector<int16_t>;

Samples pull(SampleFifo& fifo, size_t frames, size_t channels, size_t* real = nullptr) {
  Samples out(frames * channels, 99);
  const size_t got = fifo.pull(out.data(), frames);
  if (real) *real = got;
  return out;
}

TEST(SampleFifo, IsSilentBeforeTheFirstSample) {
  SampleFifo fifo(2, 0, 100);
  size_t real = 1;
  EXPECT_EQ(pull(fifo, 3, 2, &real), Samples(6, 0));
  EXPECT_EQ(real, 0U);
}

TEST(SampleFifo, DeliversSamplesInOrder) {
  SampleFifo fifo(2, 0, 100);
  const Samples in{1, -1, 2, -2, 3, -3};
  fifo.push(in.data(), 3);
  EXPECT_EQ(pull(fifo, 2, 2), (Samples{1, -1, 2, -2}));
  EXPECT_EQ(pull(fifo, 1, 2), (Samples{3, -3}));
}

TEST(SampleFifo, WaitsForThePrebuffer) {
  SampleFifo fifo(1, 4, 100);
  const Samples in{1, 2, 3, 4};
  fifo.push(in.data(), 3);
  EXPECT_EQ(pull(fifo, 2, 1), (Samples{0, 0}));
  fifo.push(in.data() + 3, 1);
  EXPECT_EQ(pull(fifo, 2, 1), (Samples{1, 2}));
  EXPECT_EQ(pull(fifo, 2, 1), (Samples{3, 4})) << "the prebuffer applies to the start only";
}

TEST(SampleFifo, AnUnderrunFillsWithSilenceAndPrebuffersAgain) {
  SampleFifo fifo(1, 3, 100);
  const Samples in{1, 2, 3};
  fifo.push(in.data(), 3);
  size_t real = 0;
  EXPECT_EQ(pull(fifo, 5, 1, &real), (Samples{1, 2, 3, 0, 0}));
  EXPECT_EQ(real, 3U);
  fifo.push(in.data(), 2);
  EXPECT_EQ(pull(fifo, 1, 1), (Samples{0}));
  fifo.push(in.data() + 2, 1);
  EXPECT_EQ(pull(fifo, 3, 1), (Samples{1, 2, 3}));
}

TEST(SampleFifo, DropsTheOldestDownToThePrebufferPastTheLimit) {
  SampleFifo fifo(1, 2, 5);
  Samples in(6);
  std::iota(in.begin(), in.end(), int16_t{1});
  fifo.push(in.data(), 5);
  EXPECT_EQ(pull(fifo, 1, 1), (Samples{1})) << "nothing is dropped at the limit itself";
  fifo.push(in.data(), 2);  // 2 3 4 5 1 2
  size_t real = 0;
  EXPECT_EQ(pull(fifo, 3, 1, &real), (Samples{1, 2, 0}));
  EXPECT_EQ(real, 2U);
}

TEST(SampleFifo, RestartsWhenItIsCleared) {
  SampleFifo fifo(1, 2, 5);
  const Samples in{1, 2, 3};
  fifo.push(in.data(), 3);
  EXPECT_EQ(pull(fifo, 1, 1), (Samples{1}));
  fifo.clear();
  fifo.push(in.data(), 1);
  size_t real = 0;
  pull(fifo, 1, 1, &real);
  EXPECT_EQ(real, 0U) << "it prebuffers again";
}

TEST(SampleFifo, OneThreadPushesWhileAnotherPulls) {
  constexpr int kFrames = 20000;
  SampleFifo fifo(2, 10, kFrames + 1000);
  std::thread source([&fifo] {
    for (int i = 1; i <= kFrames; ++i) {
      const Samples frame(2, static_cast<int16_t>(i));
      fifo.push(frame.data(), 1);
    }
  });
  int16_t last = 0;
  while (last < kFrames) {
    size_t real = 0;
    const Samples out = pull(fifo, 7, 2, &real);
    // The last few stay below the prebuffer: one more push releases them.
    const Samples more(20, 0);
    if (real == 0) fifo.push(more.data(), 10);
    for (size_t i = 0; i < real * 2; i += 2) {
      EXPECT_EQ(out[i], out[i + 1]);
      if (out[i] == 0) continue;
      EXPECT_EQ(out[i], last + 1);
      last = out[i];
    }
  }
  source.join();
}

}  // namespace
}  // namespace NimboEngine
