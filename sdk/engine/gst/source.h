// One source of frames or audio: builds its pipeline and decides how to continue at the end of its
// media. SourceRunner runs it.
//
// Thread: all functions are called on the runner's thread; media arrive on GStreamer's threads.
// Ownership: a source shares the sinks that it delivers into, so that one that cannot be stopped
//   any more does no harm.

#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "base/result.h"
#include "gst/pipeline.h"

namespace NimboEngine {

class Source {
 public:
  virtual ~Source() = default;

  // Builds the pipeline, not started. Never null.
  virtual Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) = 0;

  // Rewinds at the end of the media. Returns false if the pipeline must be restarted instead.
  virtual bool rewind(Pipeline&) { return false; }

  // Returns the number of frames or samples delivered so far while the source is monitored for
  // stalls; -1 while it need not be monitored.
  virtual int64_t progress() const { return -1; }
};

}  // namespace NimboEngine
