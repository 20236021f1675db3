// The process's one pusher.

#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>

#include "api/live_pusher.h"
#include "base/never_destroyed.h"
#include "log/log.h"

namespace NimboEngine {
namespace {

// Never destroyed: a pusher that outlived stopAtExit() must not go in the middle of the process's
// other destructors.
struct Instance {
  std::mutex mutex;
  std::unique_ptr<LivePusher> pusher;
};

Instance& theInstance() {
  static NeverDestroyed<Instance> instance;
  return *instance;
}

// A process that ends while it streams stops streaming first: GStreamer loads plug-ins as it needs
// them, and one that is loaded after the libraries' own destructors have run aborts the process.
void stopAtExit() {
  [[maybe_unused]] static const int registered = std::atexit(LumoRtc::LumoLivePusher::destroy);
}

}  // namespace
}  // namespace NimboEngine

namespace LumoRtc {

using NimboEngine::theInstance;

LumoLivePusher* LumoLivePusher::Create(const char* extraConfig) {
  std::string problem;
  const auto settings = NimboEngine::parseSettings(extraConfig, problem);
  std::lock_guard lock(theInstance().mutex);
  if (theInstance().pusher) {
    NIMBO_LOG_ERROR("no pusher: there is one already");
    return nullptr;
  }
  if (!settings || !NimboEngine::applySettings(*settings, problem)) {
    NIMBO_LOG_ERROR("no pusher: the settings cannot be used: {}", problem);
    return nullptr;
  }
  NimboEngine::stopAtExit();
  theInstance().pusher = std::make_unique<NimboEngine::LivePusher>(*settings);
  return theInstance().pusher.get();
}

void LumoLivePusher::destroy() {
  // Under the lock: a new pusher must not open the devices before the old one has released them.
  std::lock_guard lock(theInstance().mutex);
  theInstance().pusher.reset();
}

}  // namespace LumoRtc
