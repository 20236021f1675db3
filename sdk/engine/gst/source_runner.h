// Runs one source on a thread of its own, from building its pipeline to taking it down: opening a
// device may take long, or never complete.
//
// Thread: any. `onFailure` is called on the runner's thread, at most once, and never after
//   requestStop() has returned; it must not destroy the runner.
// Ownership: owns the source. A pipeline that hangs in its device's driver stays with its thread,
//   which frees everything if the driver ever returns.
// Failure: a source that cannot be built, fails or stalls is reported and ends.

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/worker.h"
#include "gst/source.h"

namespace NimboEngine {

class SourceRunner {
 public:
  using MakeSource = std::function<Result<std::unique_ptr<Source>>()>;
  using FailureCallback = std::function<void(const std::string& message)>;

  // A source that keeps running until its successor has `begun`, or has ended without beginning.
  struct Predecessor {
    std::unique_ptr<SourceRunner> runner;
    std::function<bool()> begun;
  };

  // `name` appears in log lines. `make` is called on the runner's thread.
  SourceRunner(std::string name, MakeSource make, FailureCallback onFailure,
               Predecessor predecessor = {});
  ~SourceRunner();
  SourceRunner(const SourceRunner&) = delete;
  SourceRunner& operator=(const SourceRunner&) = delete;

  // Starts stopping. To stop several runners in parallel, call this on all before destroying any.
  void requestStop();

 private:
  struct State;

  Worker<State> worker_;
};

}  // namespace NimboEngine
