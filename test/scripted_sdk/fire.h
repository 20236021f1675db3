// Fires callbacks from the threads that a test chooses.
//
// A fire is {"callback", "thread", "target", "through", …arguments}: "thread" names a native
// thread, null stands for the calling one, and "sdk" is the default; "target" is the pusher or
// player whose listener is called (the newest living one by default); "through" is "current" (the
// listener that is set, the default) or "last" (the last that was set, even if it is detached).
//
// Thread: any.
// Failure: reading throws std::invalid_argument; performing does not throw.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "scripted_sdk/callbacks.h"

namespace ScriptedSdk {

struct Fire {
  Callback callback;
  std::optional<std::string> thread;  // none: the calling thread

  static Fire read(const Json& value);

  // Makes the callback on its thread and returns its result when it has returned.
  Json perform() const;
};

// Lets several threads fire at once: none starts before all are ready. `lanes` is an array of
// {"thread", "fires"}; the fires of a lane are made in order, on the lane's thread. Returns a
// ticket for collectBurst().
uint64_t startBurst(const Json& lanes);

// Waits for the burst and returns the results, an array for each lane. A ticket can be used once.
// Throws std::runtime_error when the threads do not end.
Json collectBurst(uint64_t ticket);

}  // namespace ScriptedSdk
