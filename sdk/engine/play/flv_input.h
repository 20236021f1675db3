// The input for an FLV stream into a playback's pipeline. The demultiplexer runs on the pushing
// thread, which saves a thread per player.
//
// Thread: created on any; push() and end() on one, which blocks while a stream's queue is full and
//   is released when the pipeline is stopped.
// Ownership: shares the demultiplexer; may outlive the pipeline.
// Failure: data that the pipeline no longer accepts are dropped.

#pragma once

#include "gst/pipeline.h"

namespace NimboEngine {

class FlvInput {
 public:
  // The pipeline must have a demultiplexer "streams" and have been started.
  explicit FlvInput(const Pipeline& pipeline);
  ~FlvInput();
  FlvInput(const FlvInput&) = delete;
  FlvInput& operator=(const FlvInput&) = delete;

  void push(GstPtr<GstBuffer> data);

  // Signals the end of the stream.
  void end();

 private:
  GstPtr<GstPad> pad_;
};

}  // namespace NimboEngine
