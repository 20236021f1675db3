#include "base/detachable_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace NimboEngine {
namespace {

TEST(DetachableThread, WaitsForABodyThatEnds) {
  bool ended = false;  // not atomic: joining orders it
  {
    const DetachableThread thread("test", [&ended] { ended = true; });
  }
  EXPECT_TRUE(ended);
}

TEST(DetachableThread, DetachesABodyThatHangsAndFreesItsCapturesLater) {
  auto release = std::make_shared<std::promise<void>>();
  auto freed = std::make_shared<std::promise<void>>();
  std::future<void> isFreed = freed->get_future();
  {
    // The last reference is released by the body, after it was unblocked.
    std::shared_ptr<void> belonging(nullptr, [freed](void*) { freed->set_value(); });
    const DetachableThread thread(
        "test", [release, belonging = std::move(belonging)] { release->get_future().wait(); });
  }
  EXPECT_EQ(isFreed.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
  release->set_value();
  EXPECT_EQ(isFreed.wait_for(std::chrono::seconds(10)), std::future_status::ready);
}

}  // namespace
}  // namespace NimboEngine
