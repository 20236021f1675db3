#include "base/leavable_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace NimboEngine {
namespace {

TEST(LeavableThread, WaitsForABodyThatEnds) {
  bool ended = false;  // not atomic: joining orders it
  {
    const LeavableThread thread("test", [&ended] { ended = true; });
  }
  EXPECT_TRUE(ended);
}

TEST(LeavableThread, LeavesABodyThatHangsAndItsBelongingsGoWithIt) {
  auto release = std::make_shared<std::promise<void>>();
  auto freed = std::make_shared<std::promise<void>>();
  std::future<void> isFreed = freed->get_future();
  {
    // The last reference ends with the body, after it was let go.
    std::shared_ptr<void> belonging(nullptr, [freed](void*) { freed->set_value(); });
    const LeavableThread thread(
        "test", [release, belonging = std::move(belonging)] { release->get_future().wait(); });
  }
  EXPECT_EQ(isFreed.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  release->set_value();
  EXPECT_EQ(isFreed.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

}  // namespace
}  // namespace NimboEngine
