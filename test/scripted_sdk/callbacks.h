// Every callback of the listener interfaces: reads its arguments from a test, and makes it.
//
// Thread: any. No lock is held while a listener runs.
// Failure: reading throws std::invalid_argument; making does not throw.

#pragma once

#include <functional>
#include <string>

#include "scripted_sdk/json_values.h"
#include "scripted_sdk/listener_slot.h"

namespace ScriptedSdk {

// Selects the object whose listener gets the callback: the pusher or player at `target`, null for
// the newest living one when the callback is made.
struct Aim {
  const void* target = nullptr;
  Through through = Through::kCurrent;
};

// Makes the callback once, on the calling thread. The result has "delivered"; when that is false a
// "reason": "no pusher", "no player" or "no listener". A frame callback adds its "result" and, on
// demand, the "frame" as it was left.
using Callback = std::function<Json()>;

// Names as the test gives them: "pusher.onPushStarted", or without the object where that is clear.
Callback readCallback(const std::string& name, Fields& arguments, const Aim& aim);

// All whole names.
Json callbackNames();

}  // namespace ScriptedSdk
