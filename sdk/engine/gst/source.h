// One source of pictures or sound: what its pipeline is and how it goes on at the end of its media.
// SourceRunner runs it.
//
// Thread: all functions are called on the runner's thread; media arrive on GStreamer's threads.
// Ownership: a source shares the places it delivers into, so that one which cannot be stopped any
//   more harms nobody.

#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "gst/pipeline.h"

namespace NimboEngine {

class Source {
 public:
  virtual ~Source() = default;

  // Builds the pipeline, not started. Null on failure, with the reason in `error`.
  virtual std::unique_ptr<Pipeline> build(Pipeline::Handler handler, std::string& error) = 0;

  // Goes back to the beginning when the media have ended. False when the pipeline must be started
  // anew for that.
  virtual bool rewind(Pipeline&) { return false; }

  // How many pictures or samples came so far, while the source is watched for falling silent
  // without a word; -1 while it need not be watched.
  virtual int64_t progress() const { return -1; }
};

}  // namespace NimboEngine
