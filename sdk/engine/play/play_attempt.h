// Runs one attempt to play on a thread of its own, from building the pipeline to taking it down:
// either may hang in the network.
//
// Thread: any. `onOver` is called once on the runner's thread, when the pipeline is down; never
//   after destruction.
// Ownership: shares the output with the pipeline. Destruction waits for nothing: a pipeline that
//   hangs stays with its thread, which frees everything if it ever returns.
// Failure: reported as the outcome.

#pragma once

#include <functional>
#include <memory>
#include <string>

#include "NimboSdk/LumoLiveResult.h"
#include "base/worker.h"
#include "fetch/source_settings.h"
#include "play/decoded_media_sink.h"
#include "play/play_url.h"

namespace NimboEngine {

struct PlayOutcome {
  enum class Kind { kStopped, kEnded, kFailed };

  Kind kind = Kind::kStopped;
  LumoRtc::LumoLiveErrorCode code = LumoRtc::kLumoLiveErrorNone;  // of a failure
  std::string message;
};

class PlayAttempt {
 public:
  using OverCallback = std::function<void(const PlayOutcome&)>;

  PlayAttempt(PlayUrl url, const SourceSettings& sources, std::shared_ptr<DecodedMediaSink> output,
              OverCallback onOver);
  ~PlayAttempt();
  PlayAttempt(const PlayAttempt&) = delete;
  PlayAttempt& operator=(const PlayAttempt&) = delete;

  // Starts stopping the pipeline.
  void requestStop();

  // Stops all pipelines, except those that hang in the network, and prevents new ones: runners that
  // are created afterwards do nothing. Takes half a second at most.
  static void shutDownAll();
  static bool areShutDown();

 private:
  struct State;
  struct Running;

  Worker<State> worker_;
};

}  // namespace NimboEngine
