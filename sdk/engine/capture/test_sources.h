// The sources that need no device: a test pattern with a running clock, and a test tone.
//
// Thread, ownership, failure: see Source.

#pragma once

#include <memory>
#include <string>

#include "capture/media_sink.h"
#include "gst/source.h"

namespace NimboEngine {

// SMPTE colour bars with the time since the start.
class TestPatternSource : public Source {
 public:
  explicit TestPatternSource(SourceOutputs outputs);
  Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) override;

 private:
  const SourceOutputs outputs_;
};

// A sine of 440 Hz at a fifth of full scale.
class TestToneSource : public Source {
 public:
  explicit TestToneSource(SourceOutputs outputs);
  Result<std::unique_ptr<Pipeline>> build(Pipeline::Handler handler) override;

 private:
  const SourceOutputs outputs_;
};

}  // namespace NimboEngine
