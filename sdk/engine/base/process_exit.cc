#include "base/process_exit.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "base/mutex.h"
#include "base/never_destroyed.h"

namespace NimboEngine {
namespace {

constexpr auto kStages = static_cast<std::size_t>(ExitStage::kCount);

struct Stage {
  void (*stop)() = nullptr;
  bool hasRun = false;
};

// Never destroyed: other threads may register a stage while the process exits.
struct Stages {
  Mutex mutex;
  std::array<Stage, kStages> stages NIMBO_GUARDED_BY(mutex);
};

Stages& theStages() {
  static NeverDestroyed<Stages> stages;
  return *stages;
}

// Returns null if there is nothing to run.
void (*takeStage(std::size_t index))() {
  const MutexLock lock(theStages().mutex);
  Stage& stage = theStages().stages[index];
  if (!stage.stop || std::exchange(stage.hasRun, true)) return nullptr;
  return stage.stop;
}

// Not under the lock: a stage waits for threads, which may register another.
void runExitStages() {
  for (std::size_t index = 0; index < kStages; ++index) {
    if (const auto stop = takeStage(index)) stop();
  }
}

}  // namespace

void onProcessExit(ExitStage stage, void (*stop)()) {
  {
    const MutexLock lock(theStages().mutex);
    Stage& entry = theStages().stages[static_cast<std::size_t>(stage)];
    if (!entry.stop) entry.stop = stop;
  }
  [[maybe_unused]] static const int registered = std::atexit(runExitStages);
}

void renewExitHandler() {
  [[maybe_unused]] static const int registered = std::atexit(runExitStages);
}

}  // namespace NimboEngine
