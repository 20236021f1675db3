// Exponential backoff with jitter for reconnecting: the delay doubles up to a limit, minus a random
// part so that thousands of publishers do not return to a server at the same moment.
//
// Thread: one at a time.

#pragma once

#include <chrono>
#include <functional>
#include <optional>

namespace NimboEngine {

struct ReconnectPolicy {
  int maxAttempts = 20;  // for each loss of the connection; 0: a loss ends the push
  std::chrono::milliseconds firstDelay{500};
  std::chrono::milliseconds maxDelay{10'000};
};

// Returns a number from 0 up to, but not including, 1.
using RandomSource = std::function<double()>;

class Backoff {
 public:
  Backoff(const ReconnectPolicy& policy, RandomSource random);

  // Returns the delay before the next attempt, between half of the nominal one and all of it; none
  // if all attempts are used up.
  std::optional<std::chrono::milliseconds> next();

  // To be called when the connection is back: the next loss starts from the beginning.
  void reset() { attempts_ = 0; }

  // Attempts since the last reset.
  int attempts() const { return attempts_; }

 private:
  const ReconnectPolicy policy_;
  const RandomSource random_;
  int attempts_ = 0;
};

}  // namespace NimboEngine
