#include "publish/backoff.h"

#include <gtest/gtest.h>

#include <vector>

namespace NimboEngine {
namespace {

using namespace std::chrono_literals;

std::vector<int64_t> delays(const ReconnectPolicy& policy, double random) {
  Backoff backoff(policy, [random] { return random; });
  std::vector<int64_t> all;
  while (const auto delay = backoff.next()) all.push_back(delay->count());
  return all;
}

TEST(Backoff, DoublesUpToTheLimit) {
  const ReconnectPolicy policy{.maxAttempts = 6, .firstDelay = 100ms, .maxDelay = 1000ms};
  EXPECT_EQ(delays(policy, 1), (std::vector<int64_t>{100, 200, 400, 800, 1000, 1000}));
}

TEST(Backoff, TakesOffUpToAHalf) {
  const ReconnectPolicy policy{.maxAttempts = 3, .firstDelay = 100ms, .maxDelay = 1000ms};
  EXPECT_EQ(delays(policy, 0), (std::vector<int64_t>{50, 100, 200}));
  EXPECT_EQ(delays(policy, 0.5), (std::vector<int64_t>{75, 150, 300}));
}

TEST(Backoff, RestartsAfterAReset) {
  Backoff backoff({.maxAttempts = 2, .firstDelay = 100ms, .maxDelay = 1000ms}, [] { return 1.0; });
  backoff.next();
  backoff.next();
  EXPECT_EQ(backoff.attempts(), 2);
  EXPECT_FALSE(backoff.next());
  EXPECT_EQ(backoff.attempts(), 2);
  backoff.reset();
  EXPECT_EQ(backoff.attempts(), 0);
  EXPECT_EQ(backoff.next(), 100ms);
}

TEST(Backoff, OddPoliciesAreHarmless) {
  EXPECT_TRUE(delays({.maxAttempts = 0}, 1).empty());
  EXPECT_EQ(delays({.maxAttempts = 2, .firstDelay = 0ms, .maxDelay = 10ms}, 1),
            (std::vector<int64_t>{0, 0}));
  EXPECT_EQ(delays({.maxAttempts = 2, .firstDelay = 500ms, .maxDelay = 10ms}, 1),
            (std::vector<int64_t>{10, 10}));
  EXPECT_EQ(delays({.maxAttempts = 1000, .firstDelay = 1ms, .maxDelay = 600'000ms}, 1).back(),
            600'000);
}

}  // namespace
}  // namespace NimboEngine
