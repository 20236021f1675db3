#include "platform/wake_event.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <thread>

namespace NimboEngine {
namespace {

bool isSet(const WakeEvent& event, int timeoutMs = 0) {
  pollfd polled{event.descriptor(), POLLIN, 0};
  return poll(&polled, 1, timeoutMs) == 1 && (polled.revents & POLLIN) != 0;
}

TEST(WakeEvent, IsSetUntilItIsCleared) {
  WakeEvent event;
  ASSERT_GE(event.descriptor(), 0);
  EXPECT_FALSE(isSet(event));
  event.clear();
  EXPECT_FALSE(isSet(event)) << "clearing does not block";
  event.set();
  event.set();
  EXPECT_TRUE(isSet(event));
  EXPECT_TRUE(isSet(event)) << "polling clears nothing";
  event.clear();
  EXPECT_FALSE(isSet(event));
}

TEST(WakeEvent, WakesAThreadThatPolls) {
  WakeEvent event;
  std::thread setter([&] { event.set(); });
  EXPECT_TRUE(isSet(event, 30'000));
  setter.join();
}

}  // namespace
}  // namespace NimboEngine
