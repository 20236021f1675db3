#include "players/remote_stream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "gst/runtime.h"
#include "support/painted_frame.h"

namespace NimboEngine {
namespace {

TEST(RemoteStream, HasFrameAndAudioOnlyWhilePlaying) {
  ASSERT_TRUE(startGstreamer());
  RemoteStream stream;
  EXPECT_FALSE(stream.frame());
  const auto frame = test::paint({8, 8}, test::kRed);
  stream.putFrame(frame.get(), test::i420({8, 8}));
  const AudioTimeline::Time now{std::chrono::hours(1)};
  std::vector<int16_t> loud(2 * 4800, 1000);
  stream.putAudio({loud, now});
  ASSERT_TRUE(stream.frame());
  EXPECT_EQ(stream.frame()->buffer.get(), frame.get());
  EXPECT_EQ(stream.frame()->info.width, 8);
  std::vector<int16_t> output(2 * 960);
  stream.audioAt(now, output);
  EXPECT_EQ(output, std::vector<int16_t>(2 * 960, 1000));
  stream.clear();
  EXPECT_FALSE(stream.frame());
  stream.audioAt(now, output);
  EXPECT_EQ(output, std::vector<int16_t>(2 * 960, 0));
  EXPECT_EQ(GST_MINI_OBJECT_REFCOUNT_VALUE(frame.get()), 1);
}

}  // namespace
}  // namespace NimboEngine
