// The process's one pusher.

#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "api/live_pusher.h"
#include "base/capacity.h"
#include "base/log.h"
#include "base/mutex.h"
#include "base/never_destroyed.h"
#include "base/process_exit.h"

namespace NimboEngine {
namespace {

// Never destroyed: a pusher that outlived its stage of the process's exit must not go in the middle
// of the process's other destructors.
struct Instance {
  Mutex mutex;
  std::unique_ptr<LivePusher> pusher NIMBO_GUARDED_BY(mutex);
};

Instance& theInstance() {
  static NeverDestroyed<Instance> instance;
  return *instance;
}

}  // namespace
}  // namespace NimboEngine

namespace LumoRtc {

using NimboEngine::theInstance;

LumoLivePusher* LumoLivePusher::Create(const char* extraConfig) {
  const auto refuse = [](const std::string& error) -> LumoLivePusher* {
    NIMBO_LOG_ERROR("no pusher: {}", error);
    return nullptr;
  };
  const auto settings = NimboEngine::parseSettings(extraConfig);
  if (!settings) return refuse("the settings cannot be used: " + settings.error().text);
  const NimboEngine::MutexLock lock(theInstance().mutex);
  if (theInstance().pusher) return refuse("there is one already");
  const auto capacity = NimboEngine::checkCapacity();
  if (!capacity) return refuse(capacity.error().text);
  const auto applied = NimboEngine::applySettings(*settings);
  if (!applied) return refuse("the settings cannot be used: " + applied.error().text);
  NimboEngine::onProcessExit(NimboEngine::ExitStage::kPusher, LumoLivePusher::destroy);
  try {
    theInstance().pusher = std::make_unique<NimboEngine::LivePusher>(*settings);
  } catch (const std::system_error& exception) {
    return refuse(exception.what());
  }
  return theInstance().pusher.get();
}

void LumoLivePusher::destroy() {
  // Under the lock: a new pusher must not open the devices before the old one has released them.
  const NimboEngine::MutexLock lock(theInstance().mutex);
  theInstance().pusher.reset();
}

}  // namespace LumoRtc
