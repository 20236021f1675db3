// The sources that need no device: a test pattern with a running clock, and a test tone.
//
// Thread, ownership, failure: as Source says.

#pragma once

#include <memory>
#include <string>

#include "capture/media_sink.h"
#include "gst/source.h"

namespace NimboEngine {

// SMPTE colour bars with the time since the start.
class TestPatternSource : public Source {
 public:
  explicit TestPatternSource(SourceOutputs outlets);
  std::unique_ptr<Pipeline> build(Pipeline::Handler handler, std::string& problem) override;

 private:
  const SourceOutputs outlets_;
};

// A sine of 440 Hz at a fifth of full scale.
class TestToneSource : public Source {
 public:
  explicit TestToneSource(SourceOutputs outlets);
  std::unique_ptr<Pipeline> build(Pipeline::Handler handler, std::string& problem) override;

 private:
  const SourceOutputs outlets_;
};

}  // namespace NimboEngine
