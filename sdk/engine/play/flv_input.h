// The way of an FLV stream from outside into a playback's pipeline. The demultiplexer works on the
// thread that pushes, which saves a thread for each player.
//
// Thread: created on any; push() and end() on one, which blocks while a stream's queue is full and
//   is released when the pipeline goes down.
// Ownership: shares the demultiplexer; may outlive the pipeline.
// Failure: what the pipeline does not take any more is dropped.

#pragma once

#include "gst/pipeline.h"

namespace NimboEngine {

class FlvInput {
 public:
  // The pipeline has a demultiplexer "streams" and has been started.
  explicit FlvInput(const Pipeline& pipeline);
  ~FlvInput();
  FlvInput(const FlvInput&) = delete;
  FlvInput& operator=(const FlvInput&) = delete;

  void push(GstPtr<GstBuffer> data);

  // What was pushed is the whole stream.
  void end();

 private:
  GstPtr<GstPad> pad_;
};

}  // namespace NimboEngine
