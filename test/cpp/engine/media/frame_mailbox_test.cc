#include "media/frame_mailbox.h"

#include <gtest/gtest.h>

#include "gst/runtime.h"

namespace NimboEngine {
namespace {

class FrameMailboxTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ASSERT_TRUE(startGstreamer()); }

  static GstPtr<GstBuffer> frame(uint8_t value) {
    return GstPtr<GstBuffer>(gst_buffer_new_memdup(&value, 1));
  }

  int latest() const {
    const GstPtr<GstBuffer> buffer = mailbox_.latest();
    uint8_t value = 0;
    return buffer && gst_buffer_extract(buffer.get(), 0, &value, 1) == 1 ? value : -1;
  }

  FrameMailbox mailbox_;
};

TEST_F(FrameMailboxTest, IsEmptyAtFirst) {
  EXPECT_EQ(latest(), -1);
}

TEST_F(FrameMailboxTest, KeepsTheNewest) {
  mailbox_.put(frame(1).get());
  mailbox_.put(frame(2).get());
  EXPECT_EQ(latest(), 2);
  EXPECT_EQ(latest(), 2) << "reading does not consume";
  EXPECT_EQ(mailbox_.count(), 2U);
}

TEST_F(FrameMailboxTest, ReleasesReplacedFrames) {
  const GstPtr<GstBuffer> old = frame(1);
  mailbox_.put(old.get());
  EXPECT_EQ(GST_MINI_OBJECT_REFCOUNT_VALUE(old.get()), 2);
  mailbox_.put(frame(2).get());
  EXPECT_EQ(GST_MINI_OBJECT_REFCOUNT_VALUE(old.get()), 1);
}

TEST_F(FrameMailboxTest, FrozenKeepsACopyOfTheLastFrameOnly) {
  const GstPtr<GstBuffer> last = frame(7);
  mailbox_.put(last.get());
  mailbox_.freeze();
  EXPECT_EQ(GST_MINI_OBJECT_REFCOUNT_VALUE(last.get()), 1) << "the device's memory is free";
  mailbox_.put(frame(8).get());
  EXPECT_EQ(latest(), 7);
}

TEST_F(FrameMailboxTest, FrozenBeforeTheFirstStaysEmpty) {
  mailbox_.freeze();
  mailbox_.put(frame(8).get());
  EXPECT_EQ(latest(), -1);
}

}  // namespace
}  // namespace NimboEngine
