// How long to wait before each attempt to connect again: twice as long each time, up to a limit, of
// which a random part is taken off so that thousands of publishers do not return to a server in the
// same moment.
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

// A number from 0 up to, but not including, 1.
using RandomSource = std::function<double()>;

class Backoff {
 public:
  Backoff(const ReconnectPolicy& policy, RandomSource random);

  // The delay before the next attempt, between half and all of what is due; none when all attempts
  // are used up.
  std::optional<std::chrono::milliseconds> next();

  // The connection is back: the next loss starts anew.
  void reset() { attempts_ = 0; }

  // Handed out since the last reset.
  int attempts() const { return attempts_; }

 private:
  const ReconnectPolicy policy_;
  const RandomSource random_;
  int attempts_ = 0;
};

}  // namespace NimboEngine
