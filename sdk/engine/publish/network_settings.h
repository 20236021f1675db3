// Settings for the connection of a push.
//
// Thread: plain values.

#pragma once

#include <chrono>

#include "publish/backoff.h"

namespace NimboEngine {

struct NetworkSettings {
  ReconnectPolicy reconnect;
  std::chrono::milliseconds sendTimeout{4000};
};

}  // namespace NimboEngine
