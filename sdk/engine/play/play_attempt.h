// Runs one attempt to play on a thread of its own, from building the pipeline to taking it down:
// either may hang in the network.
//
// Thread: any. `onOver` is called once on the runner's thread, when the pipeline is down; not any
//   more once destruction has begun to return.
// Ownership: shares the output with the pipeline. Destruction waits for nothing: what hangs is
//   left to its thread, which frees everything should it ever come back.
// Failure: arrives as the outcome.

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

  // Begins to take the pipeline down.
  void requestStop();

  // Takes all pipelines down, those aside that hang in the network, and lets no other one begin:
  // runners that are made afterwards do nothing. Takes half a second at most.
  static void stopAllForGood();

 private:
  struct State;
  struct Running;

  Worker<State> worker_;
};

}  // namespace NimboEngine
